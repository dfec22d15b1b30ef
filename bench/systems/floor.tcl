# The floor: plain procedures, as a program without objects would have them. An
# object is a global array.

system -load {} -version {
    info patchlevel
}

proc new {class object args} {
    if {$class in {Point Box}} {
        return "$class.constructor"
    }
    return "array set ::$object {}"
}
proc delete {object} {
    return "unset ::$object"
}
# Where many objects are deleted, each is a procedure: what Tcl takes to delete
# a command is the least that the others can take.
proc newNamed {object} {
    return "proc ::$object {} {}"
}
proc deleteNamed {object} {
    return "rename ::$object {}"
}
proc exists {object} {
    return "info exists ::$object"
}
proc call {class object method args} {
    return "$class.$method $args"
}
proc instances {class} {
    return {lsort $::bench::names}
}
proc define20 {class} {
    return [lines 20 "proc $class.m%d {a b} {incr a \$b}"]
}

class Empty {} {
    proc Empty.m {} {}
}

class Point {} {
    proc Point.constructor {} {
        global p
        set p(x) 0
        set p(y) 0
    }
    proc Point.move {dx dy} {
        global p
        incr p(x) $dx
        incr p(y) $dy
    }
    proc Point.x {} {
        global p
        return $p(x)
    }
}

class Chain {length} {
    proc Chain1.m {} {
        return 1
    }
    for {set i 2} {$i <= $length} {incr i} {
        proc Chain$i.m {} "expr {\[Chain[expr {$i - 1}].m\] + 1}"
    }
}

class Self {} {
    proc Self.outer {} {
        Self.inner
    }
    proc Self.inner {} {}
}

class Plain {} {}

class Box {} {
    proc Box.constructor {} {
        global o
        set o(width) 1
        set o(height) 2
        set o(depth) 3
    }
    proc Box.volume {} {
        global o
        expr {$o(width) * $o(height) * $o(depth)}
    }
}
