#!/usr/bin/env tclsh
# profile.tcl ?directory?: where sourcetree.tcl spends its time on a directory
# (by default this repository): a table of its methods, the slowest first.
#
# The times include those of the methods called from there, and of recursive
# calls, so that the shares add up to more than the whole. Each call counts in
# whole microseconds: very short ones take more time than they show.
#
# A script that sources this file gets, instead of the table,
#     profileOf script       runs a script and returns the profiler's records
#     profileTable records   returns the table of such records

source [file join [file dirname [info script]] sourcetree.tcl]

proc profileOf {script} {
    zelObject profile start
    set code [catch {uplevel #0 $script} result options]
    set records [zelObject profile stop]
    if {$code == 1} {
        return -options $options $result
    }
    return $records
}

# A record is {class::method calls microseconds average share}.
proc profileTable {records} {
    set records [lsort -integer -decreasing -index 2 $records]
    set width 6
    set calls 0
    set period 0.0
    foreach record $records {
        set width [expr {max($width, [string length [lindex $record 0]])}]
        incr calls [lindex $record 1]
        if {$period == 0 && [lindex $record 4] > 0} {
            # The whole period is not reported: it follows from any share.
            set period [expr {[lindex $record 2] / [lindex $record 4]}]
        }
    }
    set longest [lindex $records 0 2]
    set table [format "%-*s%9s%11s%11s%10s\n" $width Method Calls \
                   "Time (ms)" "Each (us)" Share]
    foreach record $records {
        lassign $record name count time average share
        set bar [expr {$longest == 0 ? 0 : round(30.0 * $time / $longest)}]
        set row [format "%-*s%9d%11.2f%11.1f%8.1f %%  %s" $width $name $count \
                     [expr {$time / 1000.0}] $average [expr {100 * $share}] \
                     [string repeat # $bar]]
        append table [string trimright $row] \n
    }
    append table [format "%-*s%9d%11.2f%21.1f %%\n" $width Total $calls \
                      [expr {$period / 1000.0}] 100.0]
    return $table
}

if {[info exists ::argv0] &&
    [file normalize $::argv0] eq [file normalize [info script]]} {
    set directory [file join [file dirname [info script]] ..]
    if {[llength $::argv] > 0} {
        set directory [lindex $::argv 0]
    }
    if {[catch {profileOf {
        openTree tree $directory
        treeReport tree
        tree dispose
    }} records]} {
        puts stderr "profile: $records"
        exit 1
    }
    puts -nonewline [profileTable $records]
}
