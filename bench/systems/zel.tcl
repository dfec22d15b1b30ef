# This library.

system -load {
    load $env(ZEL_LIBRARY) Zeltclobject
} -version {
    set version {}
}

proc new {class object args} {
    return "$class $object $args"
}
proc delete {object} {
    return "zelObject delete object $object"
}
proc methods {class} {
    return "zelObject info methods $class"
}
proc instances {class} {
    return "zelObject info objects $class"
}
proc define20 {class} {
    return [lines 20 "method $class m%d {a b} {incr a \$b}"]
}

class Empty {} {
    method Empty m {} {}
}

class Point {} {
    method Point constructor {} {
        set this(x) 0
        set this(y) 0
    }
    method Point move {dx dy} {
        incr this(x) $dx
        incr this(y) $dy
    }
    method Point x {} {
        return $this(x)
    }
}

class Level {depth} {
    method Level0 m {} {
        return found
    }
    for {set i 1} {$i <= $depth} {incr i} {
        inherit Level$i Level[expr {$i - 1}]
    }
}

class Chain {length} {
    method Chain1 m {} {
        return 1
    }
    for {set i 2} {$i <= $length} {incr i} {
        inherit Chain$i Chain[expr {$i - 1}]
        method Chain$i m {} {
            expr {[this inherited] + 1}
        }
    }
}

class Self {} {
    method Self outer {} {
        this inner
    }
    method Self inner {} {}
}

class Plain {} {
    inherit Plain zelObjRootClass
}

class Box {} {
    method Box constructor {} {
        set this(width) 1
        set this(height) 2
        set this(depth) 3
    }
    method Box volume {} {
        expr {$this(width) * $this(height) * $this(depth)}
    }
}

class Methods {number} {
    for {set i 1} {$i <= $number} {incr i} {
        method Methods$number m$i {a b} {
            incr a $b
        }
    }
}

class Diamond {depth} {
    method Diamond0 m {} {
        return found
    }
    for {set i 1} {$i <= $depth} {incr i} {
        foreach side {Left Right} {
            inherit $side$i Diamond[expr {$i - 1}]
            inherit Diamond$i $side$i
        }
    }
}

class Toggle {} {
    method Toggle constructor {start} {
        set this(state) $start
    }
    method Toggle value {} {
        return $this(state)
    }
    method Toggle activate {} {
        set this(state) [expr {!$this(state)}]
    }
}

class NthToggle {} {
    inherit NthToggle Toggle
    method NthToggle constructor {start max} {
        this inherited $start
        set this(limit) $max
        set this(counter) 0
    }
    method NthToggle activate {} {
        if {[incr this(counter)] >= $this(limit)} {
            this inherited
            set this(counter) 0
        }
        return $this(state)
    }
}
