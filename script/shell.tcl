# shell.tcl EDITOR ?FILE ...?: the Tcl side of script/shell: sources the files,
# then reads and runs commands. EDITOR says how lines are read and completed:
#   tclreadline  words that fit where the cursor is (completer)
#   rlwrap       it wraps this program; words that fit anywhere, from the file
#                ZEL_SHELL_WORDS, written before each prompt (writeWords)
#   none         as they come
# Without a terminal there are no prompts and no results are shown, as in tclsh.

namespace eval zelShell {
    variable editor      ;# tclreadline, rlwrap or none
    variable pending ""  ;# the lines so far of a command that goes on
}

# ---- What can be completed

# The words that may come next behind those of a command, at least one, in a
# script being typed; none where that is not known. Nothing is tried out for it:
# calling a class would make an object.
proc zelShell::candidates {words script} {
    switch -regexp -- [join $words] {
        {^zelObject( delete| info( exists)?| profile)?$} {
            return [options $words]
        }
        {^(method|inherit( \S+)?)$} -
        {^zelObject (delete (class|method)|info exists class)$} -
        {^zelObject info (arglist|args|body|objects|specializations)$} {
            return [zelObject info classes]
        }
        {^zelObject (delete object|info (classofobject|exists object))$} {
            return [zelObject info objects]
        }
        {^zelObject info (class|classes|interface|methods)$} {
            return [concat [zelObject info classes] [zelObject info objects]]
        }
        {^zelObject (delete method|info (arglist|args|body)) \S+$} {
            return [ownMethods [lindex $words end]]
        }
        {^method \S+$} {
            set names {constructor destructor}
            catch {lappend names {*}[zelObject info methods [lindex $words 1]]}
            return $names
        }
        {^(this|\$objName)$} {
            # The class whose method is being typed.
            regexp {.*\ymethod\s+(\S+)} $script -> class
            return [concat inherited [callable $class]]
        }
        {^\S+$} {
            set name [lindex $words 0]
            if {[zelObject info exists object $name]} {
                # A list of one element, the class's name.
                return [callable {*}[zelObject info classofobject $name]]
            }
        }
    }
}

# What a sub-command of zelObject takes next: the list in its message when that
# is wrong.
proc zelShell::options {command} {
    foreach wrong {? {? ?}} {
        catch {{*}$command {*}$wrong} message
        if {[regexp {must be (.*)} $message -> list]} {
            return [string map {", or " " " " or " " " "," ""} $list]
        }
    }
}

proc zelShell::ownMethods {class} {
    return [lsearch -all -inline -not [zelObject info methods $class 1] *::*]
}

# What can be called for the objects of a class.
proc zelShell::callable {class} {
    set words [zelObject info methods $class]
    foreach ancestor [zelObject info classes $class] {
        foreach method [ownMethods $ancestor] {
            lappend words ${ancestor}::$method
        }
    }
    return $words
}

# Looks at the innermost command of a script being typed. Returns a list: its
# words before the last one, which may be empty, and that one. What is closed
# within brackets or braces counts as a word that means nothing.
proc zelShell::lastCommand {script} {
    while {[regsub -all {\[[^]\[\{\}]*\]|\{[^]\[\{\}]*\}} $script <> script]} {}
    regexp {([^\n;\[\{\"]*?)([^\s;\[\{\"]*)$} $script -> before last
    return [list [regexp -all -inline {\S+} $before] $last]
}

# Those of the words that begin with a text and can be typed as they are.
# Returns: a sorted list, each word once.
proc zelShell::matches {words start} {
    set found {}
    foreach word $words {
        if {[string equal -length [string length $start] $start $word]
                && [list $word] eq $word} {
            lappend found $word
        }
    }
    return [lsort -unique $found]
}

# ---- Completing with tclreadline

# The completer: `text`, which ends at `end` of the line, is what tclreadline
# takes for the word to complete; it may be only the end of it.
# Returns: what to put in its place, then all the words if there are several; or
# "" to have a file name completed.
proc zelShell::completer {text start end line} {
    variable pending
    set script $pending[string range $line 0 $end-1]
    lassign [lastCommand $script] words last
    set found {}
    if {[llength $words] && ![string match {$*} $last]} {
        catch {set found [matches [candidates $words $script] $last]}
        # tclreadline knows what Tcl's commands take. Others it would call.
        if {![llength $found] && ![isTcls [lindex $words 0]]} {
            return ""
        }
    }
    if {![llength $found]} {
        return [tclreadline::ScriptCompleter $text $start $end $line]
    }
    set common [lindex $found 0]
    set length [string length $common]
    while {![string equal -length $length $common [lindex $found end]]} {
        incr length -1
    }
    set before [expr {[string length $last] - [string length $text]}]
    set found [expr {[llength $found] > 1 ? $found : ""}]
    return [linsert $found 0 [string range $common $before $length-1]]
}

# True iff there is a command of the name, and it is none of the library's.
proc zelShell::isTcls {name} {
    return [expr {[llength [info commands ::$name]]
        && $name ni {method inherit this zelObject}
        && [catch {zelObject info classes $name}]}]
}

# ---- Completing with rlwrap

# Writes what may be typed at all, a word a line.
proc zelShell::writeWords {file} {
    set words [uplevel #0 {info commands}]
    catch {
        foreach command {zelObject {zelObject delete} {zelObject info}
                         {zelObject profile} {zelObject info exists}} {
            lappend words {*}[options $command]
        }
        foreach class [zelObject info classes] {
            lappend words {*}[ownMethods $class]
        }
    }
    set channel [open $file w]
    puts $channel [join [matches $words ""] \n]
    close $channel
}

# ---- Reading and running commands

# Returns: the next line. Events are served while it waits. At the end of the
# input the shell ends.
proc zelShell::readLine {prompt} {
    variable editor
    if {$editor eq "tclreadline"} {
        return [uplevel #0 [list tclreadline::readline read $prompt]]
    }
    if {$::tcl_interactive} {
        if {$editor eq "rlwrap"} {
            writeWords $::env(ZEL_SHELL_WORDS)
        }
        puts -nonewline $prompt
        flush stdout
    }
    fileevent stdin readable {set zelShell::ready 1}
    vwait zelShell::ready
    fileevent stdin readable {}
    if {[gets stdin line] < 0} {
        exit
    }
    return $line
}

proc zelShell::run {} {
    variable pending
    while 1 {
        append pending [readLine [expr {$pending eq "" ? "% " : "> "}]] \n
        if {![info complete $pending]} continue
        set command [string trim $pending]
        set pending ""
        if {$command eq ""} continue
        history add $command
        if {[catch {uplevel #0 $command} result] ni {0 2}} {
            puts stderr $result
        } elseif {$::tcl_interactive && $result ne ""} {
            puts $result
        }
    }
}

proc zelShell::main {editor args} {
    set ::zelShell::editor $editor
    load $::env(ZEL_LIBRARY) Zeltclobject
    foreach file $args {
        uplevel #0 [list source $file]
    }
    if {$editor eq "tclreadline"} {
        package require tclreadline
        tclreadline::Setup [file normalize ~/.zeltclobject_history]
        tclreadline::readline customcompleter zelShell::completer
    }
    run
}

if {[info exists ::argv0]
        && [file normalize $::argv0] eq [file normalize [info script]]} {
    set tcl_interactive [expr {![catch {fconfigure stdin -mode}]}]
    zelShell::main {*}$argv
}
