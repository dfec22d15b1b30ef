# The floor of this library's calls: procedures that are given what a method is
# given and make the same variables, called without any dispatch.

system -load {} -version {
    info patchlevel
}

# A procedure with what a method has besides its own parameters and body.
proc hidden {name parameters body} {
    proc ::$name [list objName className methodName {*}$parameters] \
        "upvar #0 \$className class \$objName this\n$body"
}

proc new {class object args} {
    if {$class in {Point Toggle NthToggle}} {
        return [call $class $object constructor {*}$args]
    }
    return ""
}
proc delete {object} {
    return "unset ::$object"
}
proc call {class object method args} {
    return "$class.$method $object $class $method $args"
}

class Empty {} {
    bench::hidden Empty.m {} {}
}

class Point {} {
    bench::hidden Point.constructor {} {
        set this(x) 0
        set this(y) 0
    }
    bench::hidden Point.move {dx dy} {
        incr this(x) $dx
        incr this(y) $dy
    }
    bench::hidden Point.x {} {
        return $this(x)
    }
}

class Chain {length} {
    bench::hidden Chain1.m {} {
        return 1
    }
    for {set i 2} {$i <= $length} {incr i} {
        set parent Chain[expr {$i - 1}]
        bench::hidden Chain$i.m {} \
            "expr {\[$parent.m \$objName $parent \$methodName\] + 1}"
    }
}

class Self {} {
    bench::hidden Self.outer {} {
        Self.inner $objName Self inner
    }
    bench::hidden Self.inner {} {}
}

class Toggle {} {
    bench::hidden Toggle.constructor {start} {
        set this(state) $start
    }
    bench::hidden Toggle.value {} {
        return $this(state)
    }
    bench::hidden Toggle.activate {} {
        set this(state) [expr {!$this(state)}]
    }
}

class NthToggle {} {
    bench::hidden NthToggle.constructor {start max} {
        set this(state) $start
        set this(limit) $max
        set this(counter) 0
    }
    bench::hidden NthToggle.value {} {
        return $this(state)
    }
    bench::hidden NthToggle.activate {} {
        if {[incr this(counter)] >= $this(limit)} {
            Toggle.activate $objName Toggle activate
            set this(counter) 0
        }
        return $this(state)
    }
}
