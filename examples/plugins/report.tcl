#!/usr/bin/env tclsh
# report.tcl ?plugin ...?: writes a table as plug-ins have it: the format Csv or
# Html and, if wanted, the addition Total. Without arguments it tries several.
# report.tcl -index: after a change of the plug-ins, writes their tclIndex anew.
#
# A plug-in is a class in a file of formats/. Nothing here sources these files:
# `inherit` has Tcl's auto-loader fetch the classes that are missing, and with
# a format comes its superclass.

if {![llength [info commands zelObject]]} {
    set library [file join [file dirname [info script]] .. .. build release \
                     libzeltclobject[info sharedlibextension]]
    if {[info exists ::env(ZEL_LIBRARY)]} {
        set library $::env(ZEL_LIBRARY)
    }
    load $library Zeltclobject
    unset library
}

set folder [file normalize [file join [file dirname [info script]] formats]]
lappend auto_path $folder

# Writes rows with an object whose class inherits the plug-ins. The one named
# last is searched first, so that an addition goes behind the format.
proc writeReport {plugins rows} {
    if {[zelObject info exists class Report]} {
        zelObject delete class Report  ;# that of the report before
    }
    foreach plugin $plugins {
        inherit Report $plugin
    }
    Report report
    report write $rows
}

# Tcl's command for it knows `proc`; here each class gets an entry by its first
# method in a file.
proc writeIndex {folder} {
    auto_load auto_mkindex
    auto_mkindex_parser::command method {class args} {
        variable index
        if {[string first "auto_index($class)" $index] < 0} {
            indexEntry $class
        }
    }
    auto_mkindex $folder
}

set rows {
    {Month Sold Returned}
    {January 120 3}
    {February 95 0}
    {"March, 1 < 15" 61 8}
}
if {$argv eq "-index"} {
    writeIndex $folder
} elseif {[llength $argv]} {
    if {[catch {writeReport $argv $rows} message]} {
        puts stderr "report: $message"
        exit 1
    }
} else {
    foreach plugins {Csv {Csv Total} {Html Pdf} {Html Total}} {
        puts "-- $plugins"
        if {[catch {writeReport $plugins $rows} message]} {
            puts "error: $message"
        }
        puts "loaded: [zelObject info classes]"
    }
}
