# nx, the language of the Next Scripting Framework (NSF). Its constructors take
# named values, for which a class has properties. (A method whose parameters and
# body are both the empty string would be deleted; hence the blanks.)

system -load {
    package require nx
} -version {
    package require nsf
}

variable properties {Toggle {state} NthToggle {state limit}}

proc new {class object args} {
    variable properties
    set values {}
    if {[dict exists $properties $class]} {
        foreach property [dict get $properties $class] value $args {
            append values " -$property $value"
        }
    }
    return "$class create $object$values"
}
proc methods {class} {
    return "$class info methods"
}
proc instances {class} {
    return "lsort \[$class info instances\]"
}
proc define20 {class} {
    return "nx::Class create $class {
        [lines 20 {:public method m%d {a b} {incr a $b}}]
    }"
}

class Empty {} {
    nx::Class create Empty {
        :public method m {} { }
    }
}

class Point {} {
    nx::Class create Point {
        :method init {} {
            set :x 0
            set :y 0
        }
        :public method move {dx dy} {
            incr :x $dx
            incr :y $dy
        }
        :public method x {} {
            return ${:x}
        }
    }
}

class Level {depth} {
    nx::Class create Level0 {
        :public method m {} {
            return found
        }
    }
    for {set i 1} {$i <= $depth} {incr i} {
        nx::Class create Level$i -superclasses Level[expr {$i - 1}]
    }
}

class Chain {length} {
    nx::Class create Chain1 {
        :public method m {} {
            return 1
        }
    }
    for {set i 2} {$i <= $length} {incr i} {
        nx::Class create Chain$i -superclasses Chain[expr {$i - 1}] {
            :public method m {} {
                expr {[next] + 1}
            }
        }
    }
}

class Self {} {
    nx::Class create Self {
        :public method outer {} {
            :inner
        }
        :public method inner {} { }
    }
}

class Plain {} {
    nx::Class create Plain
}

class Box {} {
    nx::Class create Box {
        :method init {} {
            set :width 1
            set :height 2
            set :depth 3
        }
        :public method volume {} {
            expr {${:width} * ${:height} * ${:depth}}
        }
    }
}

class Methods {number} {
    nx::Class create Methods$number
    for {set i 1} {$i <= $number} {incr i} {
        Methods$number public method m$i {a b} {
            incr a $b
        }
    }
}

class Diamond {depth} {
    nx::Class create Diamond0 {
        :public method m {} {
            return found
        }
    }
    for {set i 1} {$i <= $depth} {incr i} {
        set top Diamond[expr {$i - 1}]
        nx::Class create Left$i -superclasses $top
        nx::Class create Right$i -superclasses $top
        nx::Class create Diamond$i -superclasses [list Left$i Right$i]
    }
}

class Toggle {} {
    nx::Class create Toggle {
        :property state:required
        :public method value {} {
            return ${:state}
        }
        :public method activate {} {
            set :state [expr {!${:state}}]
        }
    }
}

class NthToggle {} {
    nx::Class create NthToggle -superclasses Toggle {
        :property limit:required
        :variable counter 0
        :public method activate {} {
            if {[incr :counter] >= ${:limit}} {
                next
                set :counter 0
            }
            return ${:state}
        }
    }
}
