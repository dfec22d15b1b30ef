# Snit. Instead of inheriting, a type hands calls on to a component. Hence it
# has no class Diamond.

system -load {
    package require snit
} -version {
    package require snit
}

proc new {class object args} {
    return "$class create $object $args"
}
# Only an object lists its methods: class Methods comes with one.
proc methods {class} {
    return "methods info methods"
}
proc instances {class} {
    return "lsort \[$class info instances\]"
}
proc define20 {class} {
    return "snit::type $class {
        [lines 20 {method m%d {a b} {incr a $b}}]
    }"
}

class Empty {} {
    snit::type Empty {
        method m {} {}
    }
}

class Point {} {
    snit::type Point {
        variable x 0
        variable y 0
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
    snit::type Level0 {
        method m {} {
            return found
        }
    }
    for {set i 1} {$i <= $depth} {incr i} {
        snit::type Level$i [string map [list %parent Level[expr {$i - 1}]] {
            delegate method m to parent
            constructor {} {
                install parent using %parent %AUTO%
            }
        }]
    }
}

class Chain {length} {
    snit::type Chain1 {
        method m {} {
            return 1
        }
    }
    for {set i 2} {$i <= $length} {incr i} {
        snit::type Chain$i [string map [list %parent Chain[expr {$i - 1}]] {
            component parent
            constructor {} {
                install parent using %parent %AUTO%
            }
            method m {} {
                expr {[$parent m] + 1}
            }
        }]
    }
}

class Self {} {
    snit::type Self {
        method outer {} {
            $self inner
        }
        method inner {} {}
    }
}

class Plain {} {
    snit::type Plain {}
}

class Box {} {
    snit::type Box {
        variable width
        variable height
        variable depth
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
    snit::type Methods$number [bench::lines $number {
        method m%d {a b} {incr a $b}
    }]
    Methods$number create methods
}

class Toggle {} {
    snit::type Toggle {
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
    snit::type NthToggle {
        component toggle
        delegate method value to toggle
        variable limit
        variable counter 0
        constructor {start max} {
            install toggle using Toggle %AUTO% $start
            set limit $max
        }
        destructor {
            $toggle destroy
        }
        method activate {} {
            if {[incr counter] >= $limit} {
                $toggle activate
                set counter 0
            }
            return [$toggle value]
        }
    }
}
