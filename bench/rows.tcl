# The rows of the benchmark: what is done with each system, and how it is
# measured. A row is
#
#     row name title ?-option value ...?
#
#   -classes   the classes it needs, which a system provides or not; an element
#              with more words gives the parameters of the class
#   -except    a system that is left out
#   -setup     script that is run once, before
#   -body      script that is measured
#   -check     script whose result must be the same with every system (default:
#              the body); it is run before the body is measured
#   -kind      loop (default)  the body is repeated: time of one repetition
#              growth          -order: time of deleting one of many objects
#              memory          memory of one object that the body creates as o$i
#              load            time of loading the system
#   -repeat    for a loop: how many times, where repetitions are not alike
#   -count     how many repetitions are counted in instructions (default: 1000
#              for a loop); 0 for none
#
# In the scripts <new class object ?arg ...?>, <delete object>, <call class
# object method ?arg ...?>, <exists object>, <methods class>, <instances class>
# (sorted names) and <define20 class> (a class of 20 methods) stand for the
# system's own words.

# ------------------------------------------------------------------ Calls

row empty {empty method call} -classes Empty -setup {
    <new Empty e>
} -body {
    <call Empty e m>
}

row attributes {method, 2 arguments, 2 attributes incremented} \
    -classes Point -setup {
    <new Point p>
} -body {
    <call Point p move 3 4>
} -check {
    <call Point p move 3 4>
    <call Point p move 1 2>
    <call Point p x>
}

row accessor {accessor} -classes Point -setup {
    <new Point p>
    <call Point p move 3 4>
} -body {
    <call Point p x>
}

row levels {method inherited over 20 levels} -classes {{Level 20}} -setup {
    <new Level20 o>
} -body {
    <call Level20 o m>
}

row chain {chain of 5 calls to the inherited method} -classes {{Chain 5}} \
    -setup {
    <new Chain5 o>
} -body {
    <call Chain5 o m>
}

row self {call with a self-call inside} -classes Self -setup {
    <new Self o>
} -body {
    <call Self o outer>
}

row unknown {unknown method, error caught} -classes Plain -setup {
    <new Plain o>
} -body {
    catch {<call Plain o nosuch>}
} -except floor

# ----------------------------------------------------- Creation and deletion

row create {create + delete, no constructor} -classes Plain -body {
    <new Plain o>
    <delete o>
} -check {
    <new Plain o>
    set found [<exists o>]
    <delete o>
    list $found [<exists o>]
}

row constructor {create + delete, constructor sets 3 attributes} \
    -classes Box -body {
    <new Box o>
    <delete o>
} -check {
    <new Box o>
    set volume [<call Box o volume>]
    <delete o>
    list $volume [<exists o>]
}

row older {create + delete with 10,000 older objects of the class} \
    -classes Plain -setup {
    for {set i 1} {$i <= 10000} {incr i} {
        <new Plain o$i>
    }
} -body {
    <new Plain o>
    <delete o>
} -check {
    <new Plain o>
    <delete o>
    list [<exists o>] [<exists o1>] [<exists o10000>]
} -except floor

row deleteCreated {delete 100,000 objects in the order of creation, each} \
    -kind growth -classes Plain -order created
row deleteReverse {delete 100,000 objects in reverse order, each} \
    -kind growth -classes Plain -order reverse
row deleteRandom {delete 100,000 objects in random order, each} \
    -kind growth -classes Plain -order random

# ------------------------------------------------------------------ Classes

row define {define a class of 20 methods} -body {
    set class K[incr ::bench::serial]
    <define20 $class>
} -repeat 100 -count 50 -check {
    <define20 K>
    <new K k>
    <call K k m20 2 3>
}

foreach depth {3 12} {
    row diamonds${depth}Unknown "$depth stacked diamonds, unknown method" \
        -classes [list [list Diamond $depth]] -setup "
        <new Diamond$depth o>
    " -body "
        catch {<call Diamond$depth o nosuch>}
    " -count 20
    row diamonds${depth}Create "$depth stacked diamonds, create + delete" \
        -classes [list [list Diamond $depth]] -body "
        <new Diamond$depth o>
        <delete o>
    " -check "
        <new Diamond$depth o>
        set found \[<call Diamond$depth o m>\]
        <delete o>
        list \$found \[<exists o>\]
    " -count 50
}

# -------------------------------------------------------------------- Lists

# A system lists methods of its own besides, or in another order.
row methods {names of the methods of a class with 200} \
    -classes {{Methods 200}} -body {
    <methods Methods200>
} -check {
    set names {}
    foreach name [<methods Methods200>] {
        lappend names [namespace tail $name]
    }
    lsort [lsearch -all -inline -regexp $names {^m[0-9]}]
} -count 50

foreach {name number count} {names10k 10000 5 names100k 100000 0} {
    row $name "sorted names of [commas $number] objects" -classes Plain -setup "
        set ::bench::names \[::bench::shuffled $number\]
        foreach o \$::bench::names {
            <new Plain \$o>
        }
    " -body {
        <instances Plain>
    } -count $count
}

# ----------------------------------------------------------------- Programs

# Switches that flip, and switches that flip each nth time only, in two
# classical programs: one calls methods, the other makes objects.

row callProgram {program: 2,000 rounds of method calls} \
    -classes {Toggle NthToggle} -setup {
    proc program {} {
        set lines {}
        <new Toggle t 1>
        for {set i 0} {$i < 1000} {incr i} {
            <call Toggle t activate>
            set value [<call Toggle t value>]
        }
        lappend lines $value [<call Toggle t activate>]
        <new NthToggle t3 1 3>
        for {set i 0} {$i < 1000} {incr i} {
            <call NthToggle t3 activate>
            set value [<call NthToggle t3 value>]
        }
        lappend lines $value
        for {set i 0} {$i < 7} {incr i} {
            lappend lines [<call NthToggle t3 activate>]
        }
        <delete t>
        <delete t3>
        return $lines
    }
} -body {
    program
} -count 5

row createProgram {program: 1,000 objects made and used} \
    -classes {Toggle NthToggle} -setup {
    proc program {} {
        set lines {}
        for {set i 0} {$i < 500} {incr i} {
            set o t$i
            <new Toggle $o 1>
            set value [<call Toggle $o activate>]
            <delete $o>
        }
        lappend lines $value
        for {set i 0} {$i < 500} {incr i} {
            set o n$i
            <new NthToggle $o 0 2>
            set value [<call NthToggle $o activate>]
            <delete $o>
        }
        lappend lines $value
        <new NthToggle n 1 2>
        for {set i 0} {$i < 5} {incr i} {
            lappend lines [<call NthToggle n activate>]
        }
        <delete n>
        return $lines
    }
} -body {
    program
} -count 5

# --------------------------------------------------------- Memory and loading

row memory {memory of an object, no attributes} -kind memory -classes Plain \
    -body {
    <new Plain o$i>
} -check {
    <new Plain o>
    <exists o>
} -except floor

row memoryBox {memory of an object with 3 attributes} -kind memory \
    -classes Box -body {
    <new Box o$i>
} -check {
    <new Box o>
    <call Box o volume>
} -except floor

row load {loading, beyond a bare tclsh} -kind load
