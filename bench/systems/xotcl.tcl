# XOTcl 1.6. (A method whose parameters and body are both the empty string
# would be deleted; hence the blanks.)

system -load {
    package require XOTcl 1.6
    namespace import xotcl::*
} -version {
    package require XOTcl 1.6
    return $xotcl::version$xotcl::patchlevel
}

proc new {class object args} {
    return "$class create $object $args"
}
proc methods {class} {
    return "$class info instprocs"
}
proc instances {class} {
    return "lsort \[$class info instances\]"
}
proc define20 {class} {
    return "Class create $class
        [lines 20 "$class instproc m%d {a b} {incr a \$b}"]"
}

class Empty {} {
    Class create Empty
    Empty instproc m {} { }
}

class Point {} {
    Class create Point
    Point instproc init {} {
        my instvar x y
        set x 0
        set y 0
    }
    Point instproc move {dx dy} {
        my instvar x y
        incr x $dx
        incr y $dy
    }
    Point instproc x {} {
        my instvar x
        return $x
    }
}

class Level {depth} {
    Class create Level0
    Level0 instproc m {} {
        return found
    }
    for {set i 1} {$i <= $depth} {incr i} {
        Class create Level$i -superclass Level[expr {$i - 1}]
    }
}

class Chain {length} {
    Class create Chain1
    Chain1 instproc m {} {
        return 1
    }
    for {set i 2} {$i <= $length} {incr i} {
        Class create Chain$i -superclass Chain[expr {$i - 1}]
        Chain$i instproc m {} {
            expr {[next] + 1}
        }
    }
}

class Self {} {
    Class create Self
    Self instproc outer {} {
        my inner
    }
    Self instproc inner {} { }
}

class Plain {} {
    Class create Plain
}

class Box {} {
    Class create Box
    Box instproc init {} {
        my instvar width height depth
        set width 1
        set height 2
        set depth 3
    }
    Box instproc volume {} {
        my instvar width height depth
        expr {$width * $height * $depth}
    }
}

class Methods {number} {
    Class create Methods$number
    for {set i 1} {$i <= $number} {incr i} {
        Methods$number instproc m$i {a b} {
            incr a $b
        }
    }
}

class Diamond {depth} {
    Class create Diamond0
    Diamond0 instproc m {} {
        return found
    }
    for {set i 1} {$i <= $depth} {incr i} {
        set top Diamond[expr {$i - 1}]
        Class create Left$i -superclass $top
        Class create Right$i -superclass $top
        Class create Diamond$i -superclass [list Left$i Right$i]
    }
}

class Toggle {} {
    Class create Toggle
    Toggle instproc init {start} {
        my instvar state
        set state $start
    }
    Toggle instproc value {} {
        my instvar state
        return $state
    }
    Toggle instproc activate {} {
        my instvar state
        set state [expr {!$state}]
    }
}

class NthToggle {} {
    Class create NthToggle -superclass Toggle
    NthToggle instproc init {start max} {
        my instvar limit counter
        next $start
        set limit $max
        set counter 0
    }
    NthToggle instproc activate {} {
        my instvar state limit counter
        if {[incr counter] >= $limit} {
            next
            set counter 0
        }
        return $state
    }
}
