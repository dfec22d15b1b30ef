# What every test file starts with: tcltest, the library, and child processes.
#
#     source [file join [file dirname [info script]] common.tcl]
#
# The environment says what is tested, so that children inherit it:
#   ZEL_LIBRARY  the library (default: the release build of this repository)
#   ZEL_TCLSH    a Tcl list, the command that runs a script file (default: the
#                running tclsh), for instance {gdb -q --args tclsh8.6}
#   ZEL_CHECKER  valgrind or asan where one of them watches

# Set before tcltest is loaded, which reports changes of the environment.
if {![info exists ::env(ZEL_LIBRARY)]} {
    set ::env(ZEL_LIBRARY) [file join [file dirname [info script]] .. \
        build release libzeltclobject[info sharedlibextension]]
}
set ::env(ZEL_LIBRARY) [file normalize $::env(ZEL_LIBRARY)]

package require Tcl 8.6
package require tcltest 2.3
namespace import -force ::tcltest::*
tcltest::configure {*}$::argv
fconfigure stdout -buffering line  ;# what precedes a crash is shown

load $::env(ZEL_LIBRARY) Zeltclobject

# `valgrind`, `asan` and `notValgrind`, `notAsan`: constraints for tests that
# only make sense, or take too long, under one of them.
foreach checker {valgrind asan} {
    set watched [expr {[info exists ::env(ZEL_CHECKER)]
                       && $::env(ZEL_CHECKER) eq $checker}]
    testConstraint $checker $watched
    testConstraint not[string totitle $checker] [expr {!$watched}]
}
unset checker watched

# childTclsh ?-noload? script
#
# Runs the script in a tclsh of its own, by default with the library loaded.
# For what ends a process's use of the library (unload, deletion of the
# interpreter) and for what must not take the test process along.
# Returns a list: the exit status, or the signal's name if one killed the
# child, and all that the child wrote, standard error included.
proc childTclsh {args} {
    if {[llength $args] == 1} {
        set prologue [list load $::env(ZEL_LIBRARY) Zeltclobject]
    } elseif {[llength $args] == 2 && [lindex $args 0] eq "-noload"} {
        set prologue ""
    } else {
        error "wrong # args: should be \"childTclsh ?-noload? script\""
    }
    if {[info exists ::env(ZEL_TCLSH)]} {
        set command $::env(ZEL_TCLSH)
    } else {
        set command [list [interpreter]]
    }

    # A file, not standard input: only a file ends at the first error.
    set path [file join [temporaryDirectory] \
                  child-[pid]-[incr ::childTclshCount].tcl]
    set file [open $path w]
    fconfigure $file -encoding utf-8
    puts $file "fconfigure stdout -encoding utf-8"
    puts $file "fconfigure stderr -encoding utf-8"
    puts $file $prologue
    puts -nonewline $file [lindex $args end]
    close $file

    try {
        set pipe [open |[list {*}$command -encoding utf-8 $path 2>@1]]
        fconfigure $pipe -encoding utf-8
        set output [read $pipe]
        if {[catch {close $pipe} message options]} {
            lassign [dict get $options -errorcode] kind pid status
            if {$kind ni {CHILDSTATUS CHILDKILLED}} {
                return -options $options $message
            }
        } else {
            set status 0
        }
    } finally {
        file delete $path
    }
    return [list $status [string trimright $output \n]]
}
