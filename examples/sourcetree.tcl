#!/usr/bin/env tclsh
# sourcetree.tcl ?directory?: reports on the text files below a directory (by
# default this repository): the lines of each kind of file and how many of them
# are comments, the largest files, and the top of the tree. Lines are counted
# as `wc -l` does. Links are not followed.
#
# A script that sources this file gets the classes and, instead of the report,
#     openTree name directory  scans a directory into an object of that name
#     treeReport tree          returns the report on it

if {![llength [info commands zelObject]]} {
    set library [file join [file dirname [info script]] .. build release \
                     libzeltclobject[info sharedlibextension]]
    if {[info exists ::env(ZEL_LIBRARY)]} {
        set library $::env(ZEL_LIBRARY)
    }
    load $library Zeltclobject
    unset library
}

# ---- Nodes: what directories and files have in common

method Node constructor {path name} {
    if {[zelObject info classofobject $objName] eq $className} {
        error "$className is abstract: make a Directory or a kind of File"
    }
    set this(path) $path  ;# absolute
    set this(name) $name  ;# from the root of the tree, which is "."
}
method Node summary {} {
    return $this(name)
}
# The sum of a figure (lines, comments, files, ...) from this node down.
method Node sum {figure} {
    return [expr {[info exists this($figure)] ? $this($figure) : 0}]
}
# Every attribute can be asked for by its name: $node path
method Node unknown {method args} {
    if {[info exists this($method)] && ![llength $args]} {
        return $this($method)
    }
    this inherited $method {*}$args
}

# ---- Directories. class(skip): the names of those that are left out.

inherit Directory Node
array set ::Directory {skip {. .. .git build build-*}}

method Directory constructor {path {name .}} {
    this inherited $path $name
    array set this {entries {} directories 1 others 0}
    if {[catch {glob -directory $path * .*} paths]} return  ;# not readable
    foreach path [lsort $paths] {
        switch [file type $path] {
            directory {this addDirectory $path}
            file {this addFile $path}
        }
    }
}
method Directory destructor {} {
    foreach entry $this(entries) {
        $entry dispose
    }
}
method Directory addDirectory {path} {
    foreach pattern $class(skip) {
        if {[string match $pattern [file tail $path]]} return
    }
    set entry [this add Directory $path]
    if {[$entry sum files] == 0} {
        set this(entries) [lrange $this(entries) 0 end-1]
        incr this(others) [$entry sum others]
        $entry dispose
    }
}
method Directory addFile {path} {
    if {[catch {readText $path} text]} {
        incr this(others)
    } else {
        this add [kindOf $path $text] $path $text
    }
}
method Directory add {kind path args} {
    set name [file tail $path]
    if {$this(name) ne "."} {
        set name $this(name)/$name
    }
    set entry [$kind node[incr class(made)] $path $name {*}$args]
    lappend this(entries) $entry
    return $entry
}
method Directory sum {figure} {
    set sum [this inherited $figure]
    foreach entry $this(entries) {
        incr sum [$entry sum $figure]
    }
    return $sum
}
method Directory summary {} {
    return "[this inherited]/, files: [this sum files]"
}
method Directory files {} {
    set files {}
    foreach entry $this(entries) {
        lappend files {*}[$entry files]
    }
    return $files
}

# ---- Files. class(kinds): the classes of files, in the order of the report.

inherit File Node

method File constructor {path name text} {
    this inherited $path $name
    array set this {files 1 lines 0 comments 0}
    # What follows the last newline is no line.
    foreach line [lrange [split $text \n] 0 end-1] {
        this addLine [string trim $line]
    }
}
method File addLine {line} {
    incr this(lines)
    incr this(comments) [this isComment $line]
}
method File summary {} {
    # The array `class` would be File's own, whatever kind of file this is.
    upvar #0 [zelObject info classofobject $objName] kind
    return "[this inherited], $kind(label)"
}
method File files {} {
    return [list $objName]
}

# ---- Ways to write comments, for kinds of files to inherit

method HashComments isComment {line} {
    return [expr {[string match "#*" $line] && ![string match "#!*" $line]}]
}
method SlashComments isComment {line} {
    if {[string match {/\**} $line]} {
        set this(inBlock) 1
    }
    set isComment [expr {$this(inBlock) || [string match "//*" $line]}]
    if {[string match {*\*/*} $line]} {
        set this(inBlock) 0
    }
    return $isComment
}

# ---- Kinds of files
#
# class(label) is what the report calls them; by the patterns class(names) and
# class(starts) their names and first lines are known. File is inherited last,
# so that it is searched first: Node's `unknown` must be found, not the one that
# every class inherits from the root class.

proc kind {kind superclasses label names {starts {}}} {
    foreach superclass $superclasses {
        inherit $kind $superclass
    }
    array set ::$kind [list label $label names $names starts $starts]
    lappend ::File(kinds) $kind
}

kind CxxFile {SlashComments File} C/C++ {*.c *.cc *.cpp *.h *.hpp}
method CxxFile constructor {path name text} {
    set this(inBlock) 0
    this inherited $path $name $text
}

kind TclFile {HashComments File} Tcl {*.tcl *.tm} {#!*tclsh* #!*wish*}
method TclFile addLine {line} {
    this inherited $line
    incr this(definitions) [regexp {^(proc|method)\s} $line]
}
method TclFile summary {} {
    return "[this inherited], definitions: [this sum definitions]"
}

kind TclTest TclFile "Tcl tests" {*.test}
kind ShellFile {HashComments File} Shell {*.sh *.bash} {#!*/sh* #!*bash*}
kind CMakeFile {HashComments File} CMake {CMakeLists.txt *.cmake}

kind TextFile File "other text" {}
method TextFile isComment {line} {
    return 0
}

# ---- Scanning and reporting

# The kind of a file: its name tells or, failing that, its first line.
proc kindOf {path text} {
    set start [string range $text 0 [string first \n $text]]
    foreach attribute {names starts} subject [list [file tail $path] $start] {
        foreach kind $::File(kinds) {
            foreach pattern [set ::${kind}($attribute)] {
                if {[string match $pattern $subject]} {
                    return $kind
                }
            }
        }
    }
    return TextFile
}

# The bytes of a file; an error if it cannot be read or is no text.
proc readText {path} {
    set channel [open $path rb]
    set text [read $channel]
    close $channel
    if {[string first \0 $text] >= 0} {
        error "\"$path\" is not a text file"
    }
    return $text
}

# Scans a directory into a tree of the name given. A tree that has the name
# already is replaced, but not before the new one is complete.
proc openTree {name directory} {
    if {![file isdirectory $directory]} {
        error "\"$directory\" is not a directory"
    }
    set root node[incr ::Directory(made)]
    Directory $root [file normalize $directory]
    if {[zelObject info exists object $name]} {
        $name dispose
    }
    rename $root $name
    return $name
}

proc treeReport {tree} {
    foreach file [$tree files] {
        set kind [zelObject info classofobject $file]
        incr files($kind)
        incr lines($kind) [$file lines]
        incr comments($kind) [$file comments]
        lappend bySize [list [$file lines] [$file summary]]
    }
    set report "[$tree path]\n\n"
    append report "Kind           Files     Lines    Comments\n"
    foreach kind $::File(kinds) {
        if {[info exists files($kind)]} {
            append report [reportRow [set ::${kind}(label)] \
                               $files($kind) $lines($kind) $comments($kind)]
        }
    }
    append report [reportRow Total [$tree sum files] [$tree sum lines] \
                       [$tree sum comments]]
    append report "Directories: [$tree sum directories], files left out as no\
        text: [$tree sum others]\n\nLargest files\n"
    set bySize [lsort -integer -decreasing -index 0 [lappend bySize]]
    foreach pair [lrange $bySize 0 4] {
        append report [format "%8d  %s\n" {*}$pair]
    }
    append report "\nTop of the tree, in lines\n"
    foreach entry [$tree entries] {
        append report [format "%8d  %s\n" [$entry sum lines] [$entry summary]]
    }
    return $report
}

proc reportRow {label files lines comments} {
    set share [expr {$lines == 0 ? 0.0 : 100.0 * $comments / $lines}]
    return [format "%-12s%8d%10d%10.1f %%\n" $label $files $lines $share]
}

if {[info exists ::argv0] &&
    [file normalize $::argv0] eq [file normalize [info script]]} {
    set directory [file join [file dirname [info script]] ..]
    if {[llength $::argv] > 0} {
        set directory [lindex $::argv 0]
    }
    if {[catch {openTree tree $directory} message]} {
        puts stderr "sourcetree: $message"
        exit 1
    }
    puts -nonewline [treeReport tree]
    tree dispose
}
