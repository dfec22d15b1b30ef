# TclOO, which is part of Tcl.

system -load {} -version {package require TclOO}

proc new {class object args} {
    return "$class create $object $args"
}
proc methods {class} {
    return "info class methods $class"
}
proc instances {class} {
    return "lsort \[info class instances $class\]"
}

proc define20 {class} {
    return "oo::class create $class {
        [lines 20 {method m%d {a b} {incr a $b}}]
    }"
}

class Empty {} {
    oo::class create Empty {
        method m {} {}
    }
}

class Point {} {
    oo::class create Point {
        variable x y
        method move {dx dy} {
            incr x $dx
            incr y $dy
        }
        method x {} {
            return $x
        }
    }
}

class Level {depth} {
    oo::class create Level0 {
        method m {} {
            return found
        }
    }
    for {set i 1} {$i <= $depth} {incr i} {
        oo::class create Level$i [list superclass Level[expr {$i - 1}]]
    }
}

class Chain {length} {
    oo::class create Chain1 {
        method m {} {
            return 1
        }
    }
    for {set i 2} {$i <= $length} {incr i} {
        oo::class create Chain$i [list superclass Chain[expr {$i - 1}]]
        oo::define Chain$i method m {} {
            expr {[next] + 1}
        }
    }
}

class Self {} {
    oo::class create Self {
        method outer {} {
            my inner
        }
        method inner {} {}
    }
}

class Plain {} {
    oo::class create Plain
}

class Box {} {
    oo::class create Box {
        variable width height depth
        constructor {} {
            set width 1
            set height 2
            set depth 3
        }
        method volume {} {
            expr {$width * $height * $depth}
        }
    }
}

class Methods {number} {
    oo::class create Methods$number
    for {set i 1} {$i <= $number} {incr i} {
        oo::define Methods$number method m$i {a b} {
            incr a $b
        }
    }
}

class Diamond {depth} {
    oo::class create Diamond0 {
        method m {} {
            return found
        }
    }
    for {set i 1} {$i <= $depth} {incr i} {
        set top Diamond[expr {$i - 1}]
        oo::class create Left$i [list superclass $top]
        oo::class create Right$i [list superclass $top]
        oo::class create Diamond$i [list superclass Left$i Right$i]
    }
}

class Toggle {} {
    oo::class create Toggle {
        variable state
        constructor {start} {
            set state $start
        }
        method value {} {
            return $state
        }
        method activate {} {
            set state [expr {!$state}]
        }
    }
}

class NthToggle {} {
    oo::class create NthToggle {
        superclass Toggle
        variable state limit counter
        constructor {start max} {
            next $start
            set limit $max
            set counter 0
        }
        method activate {} {
            if {[incr counter] >= $limit} {
                next
                set counter 0
            }
            return $state
        }
    }
}
