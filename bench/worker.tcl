# Runs one row of the benchmark with one system, in a process of its own:
#
#     tclsh worker.tcl system row mode ?option value ...?
#
#   system  a file of the folder systems, without .tcl
#   row     a row of rows.tcl
#   mode    version    prints the system's version
#           check      prints what the row's check gives
#           measure    prints what was measured, a dictionary: micros (time of
#                      an operation), bytes, or growth (number of objects ->
#                      time per object)
#           count      runs the body -number times, for an instruction counter
#           countLoop  the same with an empty body
#
# Prints "unsupported" if the system lacks what the row needs. The environment
# names the library to be loaded: ZEL_LIBRARY.

package require Tcl 8.6

namespace eval bench {
    variable folder [file dirname [file normalize [info script]]]
    source [file join $folder common.tcl]

    variable loading ""  ;# script that loads the system
    variable version ""  ;# script that gives its version
    variable classes {}  ;# class -> lambda that defines it

    # The options, with their defaults.
    variable number 1     ;# how often `count` runs the body
    variable runs 12      ;# runs of which the shortest counts
    variable sizes {100}  ;# numbers of objects for the kind growth
    variable objects 100  ;# number of objects for the kind memory
}

# ------------------------------------------ What the files of systems are of

# system -load script -version script
proc bench::system {args} {
    variable loading [dict get $args -load]
    variable version [dict get $args -version]
}

# class name parameters script: how the system defines one of the classes.
proc bench::class {name parameters script} {
    variable classes
    dict set classes $name [list $parameters $script ::]
}

# What is the same in most systems, which may replace it.
proc bench::call {class object method args} {
    return "$object $method $args"
}
proc bench::delete {object} {
    return "$object destroy"
}
proc bench::newNamed {object} {
    return [new Plain $object]
}
proc bench::deleteNamed {object} {
    return [delete $object]
}
proc bench::exists {object} {
    return "llength \[info commands $object\]"
}

# A line repeated, with %d replaced by 1, 2, ...
proc bench::lines {number line} {
    set lines {}
    for {set i 1} {$i <= $number} {incr i} {
        lappend lines [string map [list %d $i] $line]
    }
    return [join $lines \n]
}

# --------------------------------------------- What the scripts of rows use

# The names o1, o2, ...
proc bench::names {number} {
    set names {}
    for {set i 1} {$i <= $number} {incr i} {
        lappend names o$i
    }
    return $names
}

# The same in a random order, which is always the same.
proc bench::shuffled {number} {
    set names [names $number]
    expr {srand(20)}
    for {set i [expr {$number - 1}]} {$i > 0} {incr i -1} {
        set j [expr {int(rand() * ($i + 1))}]
        set name [lindex $names $i]
        lset names $i [lindex $names $j]
        lset names $j $name
    }
    return $names
}

# Replaces each <word argument ...> by what the system's procedure of that name
# gives for the arguments.
proc bench::expand {script} {
    set words \
        {newNamed|deleteNamed|new|delete|exists|call|methods|instances|define20}
    while {[regexp -indices "<((?:$words) \[^<>\]*)>" $script whole inner]} {
        set call [string range $script {*}$inner]
        if {[info procs [lindex $call 0]] eq ""} {
            throw {BENCH UNSUPPORTED} "no word \"[lindex $call 0]\""
        }
        set script [string replace $script {*}$whole [{*}$call]]
    }
    return $script
}

# Makes a procedure of a script. It is a global one, like those of a program,
# where commands are found without detour.
proc bench::compile {name parameters script} {
    proc ::bench.$name $parameters [expand $script]
    return ::bench.$name
}

# ---------------------------------------------------------------- Measuring

# Loads the system, defines the classes of the row and runs its setup.
proc bench::prepare {row} {
    variable classes
    variable loading
    variable systemName
    if {$systemName in [dict get $row -except]} {
        throw {BENCH UNSUPPORTED} "left out"
    }
    foreach class [dict get $row -classes] {
        if {![dict exists $classes [lindex $class 0]]} {
            throw {BENCH UNSUPPORTED} "no class \"[lindex $class 0]\""
        }
    }
    uplevel #0 $loading
    foreach class [dict get $row -classes] {
        apply [dict get $classes [lindex $class 0]] {*}[lrange $class 1 end]
    }
    [compile setup {} [dict get $row -setup]]
}

# Makes a procedure that runs a script as often as its argument says.
proc bench::repeater {name script} {
    compile $name n "while {\[incr n -1\] >= 0} {$script}"
}

# The shortest time of several runs, in microseconds per repetition.
proc bench::fastest {repeater repetitions} {
    variable runs
    set best Inf
    for {set i 0} {$i < $runs} {incr i} {
        set start [clock microseconds]
        $repeater $repetitions
        set best [expr {min($best, [clock microseconds] - $start)}]
    }
    return [expr {double($best) / $repetitions}]
}

# How many repetitions run for about 10 ms.
proc bench::repetitions {repeater} {
    for {set number 1} {1} {set number [expr {$number * 2}]} {
        set start [clock microseconds]
        $repeater $number
        set time [expr {[clock microseconds] - $start}]
        if {$time > 2500} {
            return [expr {max(1, $number * 10000 / $time)}]
        }
    }
}

# The time of one repetition, without that of the loop around it.
proc bench::measure.loop {row} {
    set body [repeater body [dict get $row -body]]
    if {[dict exists $row -repeat]} {
        set number [dict get $row -repeat]
    } else {
        set number [repetitions $body]
    }
    set time [fastest $body $number]
    set loop [fastest [repeater loop ""] 10000]
    return [dict create micros [expr {$time - $loop}]]
}

# The time of deleting one of many objects, for several numbers of objects. The
# smaller ones are measured more often, since they are disturbed more easily.
proc bench::measure.growth {row} {
    variable sizes
    set growth {}
    foreach size $sizes {
        set best Inf
        for {set i 0} {$i < max(1, min(10, 100000 / $size))} {incr i} {
            set best [expr {min($best, [deletionTime $row $size])}]
        }
        dict set growth $size [expr {double($best) / $size}]
    }
    return [dict create growth $growth]
}

# The time of deleting so many objects.
proc bench::deletionTime {row size} {
    set create [compile create names {foreach o $names {<newNamed $o>}}]
    set delete [compile delete names {foreach o $names {<deleteNamed $o>}}]
    set names [names $size]
    switch [dict get $row -order] {
        created {set order $names}
        reverse {set order [lreverse $names]}
        random {set order [shuffled $size]}
    }
    $create $names
    if {[numberOfObjects] != $size} {
        error "not all objects were created"
    }
    set start [clock microseconds]
    $delete $order
    set time [expr {[clock microseconds] - $start}]
    if {[numberOfObjects] != 0} {
        error "not all objects were deleted"
    }
    return $time
}

proc bench::numberOfObjects {} {
    return [llength [info commands {::o[1-9]*}]]
}

# The resident memory of one of many objects.
proc bench::measure.memory {row} {
    variable objects
    set create [compile create n "
        for {set i 1} {\$i <= \$n} {incr i} {
            [dict get $row -body]
        }
    "]
    $create 0
    set before [residentBytes]
    $create $objects
    return [dict create bytes [expr {([residentBytes] - $before) / $objects}]]
}

proc bench::residentBytes {} {
    set file [open /proc/self/status]
    regexp {VmRSS:\s+(\d+) kB} [read $file] -> kilobytes
    close $file
    return [expr {$kilobytes * 1024}]
}

# The time that a tclsh which loads the system takes beyond one that does not.
proc bench::measure.load {row} {
    variable loading
    variable runs
    if {$loading eq ""} {
        throw {BENCH UNSUPPORTED} "there is nothing to load"
    }
    foreach {name script} [list bare "" loading $loading] {
        set channel [file tempfile path($name)]
        puts $channel $script
        close $channel
        set best($name) Inf
    }
    # A start takes no longer than what disturbs it.
    for {set i 0} {$i < 8 * $runs} {incr i} {
        foreach name {bare loading} {
            set start [clock microseconds]
            exec [info nameofexecutable] $path($name)
            set time [expr {[clock microseconds] - $start}]
            set best($name) [expr {min($best($name), $time)}]
        }
    }
    file delete $path(bare) $path(loading)
    return [dict create micros [expr {$best(loading) - $best(bare)}]]
}

# -------------------------------------------------------------------- Modes

proc bench::mode.version {row} {
    variable loading
    variable version
    uplevel #0 $loading
    return [uplevel #0 $version]
}

# Names are compared as the global namespace has them, with or without "::".
proc bench::mode.check {row} {
    prepare $row
    if {[dict get $row -kind] eq "growth"} {
        measure.growth $row
        return ""
    }
    return [string map {:: {}} [[compile check {} [dict get $row -check]]]]
}

proc bench::mode.measure {row} {
    prepare $row
    return [measure.[dict get $row -kind] $row]
}

proc bench::mode.count {row} {
    variable number
    prepare $row
    [repeater body [dict get $row -body]] $number
    return counted
}

proc bench::mode.countLoop {row} {
    variable number
    prepare $row
    [repeater body ""] $number
    return counted
}

namespace eval bench {
    lassign $argv systemName rowName mode
    foreach {option value} [lrange $argv 3 end] {
        set [string range $option 1 end] $value
    }
    source [file join $folder systems $systemName.tcl]
    try {
        puts [mode.$mode [dict get $rows $rowName]]
    } trap {BENCH UNSUPPORTED} {} {
        puts unsupported
    }
}
