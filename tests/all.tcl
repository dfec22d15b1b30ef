# Runs the script tests: tclsh all.tcl ?-option value ...?
#
# Every *.test file of this folder runs in a process of its own, because a
# process serves one interpreter. The options are tcltest's (-file, -match,
# -verbose, ...); the environment is described in common.tcl.
#
# tcltest's runAllTests is not used: it takes a file that ends before its
# report for a good one, unless the exit status tells (and then only in newer
# versions). Here a file counts only with its report, its exit status 0 and at
# least one test; otherwise it is one failure more.
#
# The last line is "N passed, N failed, N skipped"; the exit status is 0 only
# if nothing failed.

package require Tcl 8.6
package require tcltest 2.3

tcltest::configure -testdir [file dirname [file normalize [info script]]] \
    {*}$argv
if {[info exists env(ZEL_TCLSH)]} {
    set command $env(ZEL_TCLSH)
} else {
    set command [list [tcltest::interpreter]]
}

# The test files that -file and -notfile select.
proc selectedFiles {} {
    set files {}
    foreach path [lsort [glob -nocomplain -directory [tcltest::testsDirectory] \
                             *.test]] {
        set selected 0
        foreach {option value} {-file 1 -notfile 0} {
            foreach pattern [tcltest::configure $option] {
                if {[string match $pattern [file tail $path]]} {
                    set selected $value
                }
            }
        }
        if {$selected} {
            lappend files $path
        }
    }
    return $files
}

# Runs one file and shows what it says. Returns a dictionary with its numbers
# of tests (Total, Passed, Skipped, Failed) and the `problem` that makes the
# file a failure by itself, or "".
proc runFile {path} {
    set report {Total 0 Passed 0 Skipped 0 Failed 0}
    set reports 0
    set problem ""
    set pattern {^[^:]+:\tTotal\t(\d+)\tPassed\t(\d+)\tSkipped\t(\d+)\tFailed}
    append pattern {\t(\d+)$}

    set pipe [open |[list {*}$::command -encoding utf-8 $path {*}$::argv \
                        2>@1]]
    while {[gets $pipe line] >= 0} {
        if {[regexp $pattern $line -> total passed skipped failed]} {
            set report [list Total $total Passed $passed \
                            Skipped $skipped Failed $failed]
            incr reports
        }
        puts $line
    }
    if {[catch {close $pipe} problem options]} {
        append problem " ([dict get $options -errorcode])"
    } elseif {$reports != 1} {
        set problem "it reported $reports times, not once"
    } elseif {[dict get $report Total] == 0} {
        set problem "it has no tests"
    }
    return [dict replace $report problem $problem]
}

set sums {Passed 0 Failed 0 Skipped 0}
set files [selectedFiles]
foreach path $files {
    puts "---- [file tail $path]"
    set report [runFile $path]
    foreach key [dict keys $sums] {
        dict incr sums $key [dict get $report $key]
    }
    if {[dict get $report problem] ne ""} {
        puts "==== [file tail $path] FAILED: [dict get $report problem]"
        dict incr sums Failed
    }
}
if {![llength $files]} {
    puts "==== FAILED: no test file was run"
    dict incr sums Failed
}
puts [format "%d passed, %d failed, %d skipped" {*}[dict values $sums]]
exit [expr {[dict get $sums Failed] > 0}]
