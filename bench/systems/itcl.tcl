# Itcl 4. It has no class Diamond: a class may not inherit another by two ways.

system -load {
    package require itcl 4
} -version {
    package require itcl 4
}

proc new {class object args} {
    return "$class $object $args"
}
proc delete {object} {
    return "itcl::delete object $object"
}
proc methods {class} {
    return "namespace eval $class {info function}"
}
proc instances {class} {
    return "lsort \[itcl::find objects -class $class\]"
}
proc define20 {class} {
    return "itcl::class $class {
        [lines 20 {method m%d {a b} {incr a $b}}]
    }"
}

class Empty {} {
    itcl::class Empty {
        method m {} {}
    }
}

class Point {} {
    itcl::class Point {
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
    itcl::class Level0 {
        method m {} {
            return found
        }
    }
    for {set i 1} {$i <= $depth} {incr i} {
        itcl::class Level$i [list inherit Level[expr {$i - 1}]]
    }
}

class Chain {length} {
    itcl::class Chain1 {
        method m {} {
            return 1
        }
    }
    for {set i 2} {$i <= $length} {incr i} {
        itcl::class Chain$i "
            inherit Chain[expr {$i - 1}]
            method m {} {
                expr {\[chain\] + 1}
            }
        "
    }
}

class Self {} {
    itcl::class Self {
        method outer {} {
            inner
        }
        method inner {} {}
    }
}

class Plain {} {
    itcl::class Plain {}
}

class Box {} {
    itcl::class Box {
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
    itcl::class Methods$number [bench::lines $number {
        method m%d {a b} {incr a $b}
    }]
}

class Toggle {} {
    itcl::class Toggle {
        protected variable state
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
    itcl::class NthToggle {
        inherit Toggle
        variable limit
        variable counter 0
        constructor {start max} {
            Toggle::constructor $start
        } {
            set limit $max
        }
        method activate {} {
            if {[incr counter] >= $limit} {
                chain
                set counter 0
            }
            return $state
        }
    }
}
