# The benchmark's driver, which script/bench calls:
#
#     tclsh bench.tcl results partial ?option ...?
#
#   results         folder for the results of a whole run
#   partial         folder for those of a run that --quick or --rows makes less
#   --rounds N      how many rounds (default 4, or 1 if quick)
#   --rows PATTERN  only rows whose name or title matches, like `string match`
#   --quick         shorter runs and fewer objects
#   --instructions  count instructions instead of measuring time and memory
#
# Every row runs with every system in a process of its own. In each round the
# rows come one after the other, and within a row the systems, so that what
# disturbs the machine meets all systems alike. The best of the rounds counts.
# Before that, the systems must have given the same answers to the checks.

package require Tcl 8.6

namespace eval bench {
    variable folder [file dirname [file normalize [info script]]]
    source [file join $folder common.tcl]
    source [file join $folder report.tcl]

    # System (a file of the folder systems) -> its name for readers. All are
    # compared with the second.
    variable systems {
        zel zeltclobject
        tcloo TclOO
        nx nx
        xotcl XOTcl
        itcl Itcl
        snit Snit
        floor "plain procedure"
        floor_upvar "procedure with upvar"
    }
    # The systems whose instructions are counted.
    variable counted {zel tcloo floor floor_upvar}

    variable rounds ""
    variable pattern *
    variable quick 0
    variable counting 0

    variable versions {}  ;# system -> version
    variable results {}   ;# row -> system -> what the worker has measured
    variable failures 0
}

proc bench::note {text} {
    puts stderr $text
}

proc bench::parse {arguments} {
    variable rounds
    variable pattern
    variable quick
    variable counting
    while {[llength $arguments] > 0} {
        set arguments [lassign $arguments option]
        switch -- $option {
            --rounds {
                set arguments [lassign $arguments rounds]
                if {![string is integer -strict $rounds] || $rounds < 1} {
                    usage
                }
            }
            --rows {
                if {[llength $arguments] == 0} {
                    usage
                }
                set arguments [lassign $arguments pattern]
            }
            --quick {
                set quick 1
            }
            --instructions {
                set counting 1
            }
            default {
                usage
            }
        }
    }
    if {$rounds eq ""} {
        set rounds [expr {$quick ? 1 : 4}]
    }
}

proc bench::usage {} {
    note "script/bench ?--rounds N? ?--rows PATTERN? ?--quick? ?--instructions?"
    exit 2
}

# The names of the rows that the option --rows selects.
proc bench::selectedRows {} {
    variable rows
    variable pattern
    set selected {}
    dict for {name row} $rows {
        if {[string match $pattern $name]
            || [string match $pattern [dict get $row -title]]} {
            lappend selected $name
        }
    }
    return $selected
}

# Runs a worker. Returns what it says; "failed" after noting why.
proc bench::work {system row mode args} {
    variable folder
    variable failures
    if {[catch {
        exec [info nameofexecutable] [file join $folder worker.tcl] \
            $system $row $mode {*}$args 2>@1
    } said]} {
        note "failed: $system, row $row, $mode: $said"
        incr failures
        return failed
    }
    return $said
}

# Leaves out the systems that cannot be loaded.
proc bench::findSystems {} {
    variable folder
    variable systems
    variable versions
    foreach {system title} $systems {
        set command [list [info nameofexecutable] \
                         [file join $folder worker.tcl] $system empty version]
        if {[catch {exec {*}$command 2>@1} said]} {
            set said [lindex [split $said \n] 0]
            if {$system in {zel tcloo}} {
                note "bench: $title cannot be loaded: $said"
                exit 1
            }
            note "skipped: $title is not to be had here: $said"
            set systems [dict remove $systems $system]
        } else {
            dict set versions $system $said
        }
    }
}

# Runs the checks. Returns a dictionary row -> systems that support it. An
# answer that differs from the library's ends the benchmark.
proc bench::check {selected} {
    variable systems
    set cells {}
    foreach row $selected {
        set supported {}
        foreach system [dict keys $systems] {
            set answer [work $system $row check]
            if {$answer in {unsupported failed}} {
                continue
            }
            if {[llength $supported] == 0} {
                set expected $answer
            } elseif {$answer ne $expected} {
                note "bench: row $row: $system answers \"$answer\", but\
                    [lindex $supported 0] \"$expected\""
                exit 1
            }
            lappend supported $system
        }
        dict set cells $row $supported
    }
    return $cells
}

# ---------------------------------------------------------------- Measuring

# The numbers of objects of a row with growth; one more for this library.
proc bench::sizes {system} {
    variable quick
    if {$quick} {
        return {3000 10000 30000}
    }
    set sizes {10000 30000 100000}
    if {$system eq "zel"} {
        lappend sizes 1000000
    }
    return $sizes
}

proc bench::measure {cells} {
    variable rows
    variable rounds
    variable results
    variable quick
    set options {-objects 100000}
    if {$quick} {
        set options {-objects 20000 -runs 4}
    }
    set slow {}
    for {set round 1} {$round <= $rounds} {incr round} {
        dict for {row supported} $cells {
            set kind [dict get $rows $row -kind]
            # Memory is the same each time. Loading is a difference of two
            # times: the least of several would be that of the worst noise.
            if {$kind in {memory load} && $round > 1} {
                continue
            }
            note "round $round of $rounds: [dict get $rows $row -title]"
            foreach system $supported {
                # What takes long is less disturbed, and not repeated.
                if {"$row $system" in $slow} {
                    continue
                }
                set start [clock milliseconds]
                set said [work $system $row measure {*}$options \
                              -sizes [sizes $system]]
                if {[clock milliseconds] - $start > 4000} {
                    lappend slow "$row $system"
                }
                if {$said in {unsupported failed}} {
                    continue
                }
                if {[dict exists $results $row $system]} {
                    set said [best [dict get $results $row $system] $said]
                }
                dict set results $row $system $said
            }
        }
    }
}

# The smaller of two measured values, or for growth of each of two.
proc bench::best {one other} {
    set best {}
    dict for {key value} $one {
        if {$key eq "growth"} {
            dict set best $key [best $value [dict get $other $key]]
        } else {
            dict set best $key [expr {min($value, [dict get $other $key])}]
        }
    }
    return $best
}

# ------------------------------------------------------ Counting instructions

# The instructions of one repetition: those of 2N less those of N repetitions,
# divided by N, without those of the loop.
proc bench::count {cells} {
    variable rows
    variable results
    set loop [instructions floor empty countLoop 10000]
    dict for {row supported} $cells {
        note "counting: [dict get $rows $row -title]"
        foreach system $supported {
            set number [dict get $rows $row -count]
            set value [instructions $system $row count $number]
            if {$value ne "failed"} {
                dict set results $row $system \
                    [dict create instructions [expr {round($value - $loop)}]]
            }
        }
    }
}

proc bench::instructions {system row mode number} {
    variable folder
    variable failures
    # Both at a time, as counting is not disturbed by another process.
    foreach times {1 2} {
        set pipe($times) [open |[list valgrind --tool=callgrind \
            --callgrind-out-file=/dev/null [info nameofexecutable] \
            [file join $folder worker.tcl] $system $row $mode \
            -number [expr {$number * $times}] 2>@1]]
    }
    foreach times {1 2} {
        set said [read $pipe($times)]
        if {[catch {close $pipe($times)} message]
            || ![regexp {Collected : (\d+)} $said -> count($times)]} {
            append said $message
            note "failed: $system, row $row, $mode under callgrind: $said"
            incr failures
            set count($times) failed
        }
    }
    if {"failed" in [list $count(1) $count(2)]} {
        return failed
    }
    return [expr {double($count(2) - $count(1)) / $number}]
}

# ------------------------------------------------------------------- The run

proc bench::main {arguments} {
    variable rows
    variable systems
    variable counted
    variable pattern
    variable quick
    variable counting
    variable failures
    set arguments [lassign $arguments whole partial]
    parse $arguments
    set selected [selectedRows]
    if {$counting} {
        set systems [dict filter $systems script {system title} {
            expr {$system in $counted}
        }]
        set selected [lmap row $selected {
            if {[dict get $rows $row -count] == 0} {
                continue
            }
            set row
        }]
    }
    if {[llength $selected] == 0} {
        note "bench: no row matches \"$pattern\""
        exit 1
    }
    set folder [expr {$quick || $pattern ne "*" ? $partial : $whole}]
    file mkdir $folder

    findSystems
    note "checking that all systems give the same answers"
    set cells [check $selected]
    if {$counting} {
        count $cells
        reportInstructions $folder
    } else {
        measure $cells
        reportTimes $folder
    }
    exit [expr {$failures > 0}]
}

bench::main $argv
