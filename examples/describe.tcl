#!/usr/bin/env tclsh
# describe.tcl program ?file? ?script?: loads a Tcl program, evaluates the
# script, which may make objects, and prints the class graph as a tree with all
# methods and objects. With a file (not ""), writes there what makes the same
# classes, methods and objects in another process, attributes included.
#
# A script that sources this file gets
#     describe::tree          returns the tree
#     describe::definitions   returns the text of the file

if {![llength [info commands zelObject]]} {
    set library [file join [file dirname [info script]] .. build release \
                     libzeltclobject[info sharedlibextension]]
    if {[info exists ::env(ZEL_LIBRARY)]} {
        set library $::env(ZEL_LIBRARY)
    }
    load $library Zeltclobject
    unset library
}

# A namespace, since the program may use any global name for its classes.
namespace eval describe {}

# ---- Answers that follow from several queries

# The direct superclasses, as far as can be told in the order in which they are
# searched: one that is reached from another one stands behind that.
proc describe::superclasses {class} {
    set direct {}
    foreach ancestor [zelObject info classes $class] {
        if {$class in [zelObject info specializations $ancestor]} {
            lappend direct $ancestor
        }
    }
    return $direct
}

# The methods that the class defines itself, in the order of `info class`.
proc describe::ownMethods {class} {
    set own 0
    foreach method [zelObject info methods $class] {
        incr own [expr {![catch {zelObject info body $class $method}]}]
    }
    return [lrange [zelObject info methods $class 1] 0 $own-1]
}

# ---- The tree

proc describe::tree {} {
    set shown {}
    set text ""
    foreach class [zelObject info classes] {
        if {![llength [zelObject info classes $class]]} {
            append text [Branch $class "" shown]
        }
    }
    return $text
}

proc describe::Branch {class indent shownVar} {
    upvar 1 $shownVar shown
    if {$class in $shown} {
        return "${indent}class $class: see above\n"
    }
    lappend shown $class
    set text "${indent}class $class"
    set above [Above $class]
    if {[llength $above] > 1} {
        append text ", searches [join $above {, }]"
    }
    append text \n
    append indent "    "
    foreach method [lsort [ownMethods $class]] {
        append text "${indent}method $method\
            {[zelObject info arglist $class $method]}\n"
    }
    foreach object [zelObject info objects $class] {
        append text "${indent}object $object\n"
    }
    foreach subclass [zelObject info specializations $class] {
        if {$class in [Above $subclass]} {
            append text [Branch $subclass $indent shown]
        }
    }
    return $text
}

# The superclasses without those that are ancestors of others.
proc describe::Above {class} {
    set ancestors {}
    foreach superclass [superclasses $class] {
        lappend ancestors {*}[zelObject info classes $superclass]
    }
    set above {}
    foreach superclass [superclasses $class] {
        if {$superclass ni $ancestors} {
            lappend above $superclass
        }
    }
    return $above
}

# ---- The definitions
#
# The script makes the classes first, then the objects, and the methods last:
# at that time no constructor could run. Everything is made in such an order
# that the answers to all queries come in the same order as here, too.

proc describe::definitions {} {
    set root zelObjRootClass
    set classes [zelObject info classes]
    set objects [zelObject info objects]
    set text "# Source this where the library is loaded and nothing defined.\n"
    foreach name [concat $classes $objects] {
        if {[namespace qualifiers $name] ne ""} {
            append text [Command namespace eval [namespace qualifiers $name] {}]
        }
    }
    foreach method {attribute attributes dispose newName setAttribute unknown} {
        append text [Command zelObject delete method $root $method]
    }
    # In the order in which they were made, as far as that can be told.
    set made [list $root]
    if {$root in $classes} {
        lappend made {*}[zelObject info specializations $root]
    }
    foreach class [concat $made $classes] {
        if {$class ne $root && ![info exists isMade($class)]} {
            append text [Command inherit $class $root]
            set isMade($class) 1
        }
    }
    foreach link [Links] {
        append text [Command inherit {*}$link]
    }
    if {$root ni $classes} {
        append text [Command zelObject delete class $root]
    }
    foreach class $classes {
        foreach object [zelObject info objects $class] {
            append text [Command $class $object]
        }
    }
    foreach name [concat $classes $objects] {
        upvar #0 $name array
        if {[array exists array]} {
            append text [Command array set ::$name [array get array]]
        }
    }
    foreach class $classes {
        append text [Methods $class]
    }
    return $text
}

# All links but those to the root class, as {class superclass}, in an order in
# which they can be made: found from its end, by taking away one link after the
# other that could have been the last.
proc describe::Links {} {
    array set later [LinksMadeLater]
    set left [array names later]
    set links {}
    while {[llength $left]} {
        foreach link $left {
            set isLast [expr {![IsReached $link $left]}]
            foreach other $later($link) {
                set isLast [expr {$isLast && $other ni $left}]
            }
            if {$isLast} break
        }
        if {!$isLast} {
            error "no order found in which the superclasses can be inherited"
        }
        set links [linsert $links 0 $link]
        set left [lsearch -all -inline -exact -not $left $link]
    }
    return $links
}

# For each link, those that must be made after it: to the same superclass, that
# from the subclass listed next; from the same class, that to the superclass
# searched before, or through which this one is reached before its own turn.
proc describe::LinksMadeLater {} {
    foreach superclass [zelObject info classes] {
        set subclasses [zelObject info specializations $superclass]
        foreach class $subclasses next [lrange $subclasses 1 end] {
            set later([list $class $superclass]) [list [list $next $superclass]]
        }
    }
    foreach class [zelObject info classes] {
        set searched {}
        foreach superclass [superclasses $class] {
            set before [lrange $searched end end]
            set reached 0
            foreach other $searched {
                if {$superclass in [zelObject info classes $other]} {
                    set before [list $other]
                    set reached 1
                    break
                }
            }
            foreach other $before {
                lappend later([list $class $superclass]) [list $class $other]
            }
            if {!$reached} {
                lappend searched $superclass
            }
        }
    }
    array unset later "* zelObjRootClass"
    return [array get later]
}

# True if the link is one to an ancestor by way of the others: `inherit` would
# pass it over if it were made last.
proc describe::IsReached {link links} {
    foreach other $links {
        if {$other ne $link} {
            lappend above([lindex $other 0]) [lindex $other 1]
        }
    }
    set found [lrange $link 0 0]
    for {set i 0} {$i < [llength $found]} {incr i} {
        set class [lindex $found $i]
        if {[info exists above($class)]} {
            foreach superclass $above($class) {
                if {$superclass ni $found} {
                    lappend found $superclass
                }
            }
        }
    }
    return [expr {[lindex $link 1] in $found}]
}

# The methods in an order in which the class lists them as here: among those
# that share a place in a hash table of Tcl, the last one entered comes first.
# The table must have grown to its size by then: from twelve methods on, where
# it grows, all are defined twice.
proc describe::Methods {class} {
    set text ""
    set methods [lreverse [ownMethods $class]]
    if {[llength $methods] >= 12} {
        foreach method $methods {
            append text [Command method $class $method {} {}]
        }
    }
    foreach method $methods {
        append text [Command method $class $method \
                         [zelObject info arglist $class $method] \
                         [zelObject info body $class $method]]
    }
    return $text
}

# A line of script that calls a command with exactly these words.
proc describe::Command {args} {
    set words {}
    foreach word $args {
        lappend words [Word $word]
    }
    return "[join $words]\n"
}

# The text as one word of a script, whatever encoding and line ends the script
# is read with.
proc describe::Word {text} {
    if {[regexp {^[\n\t -~]*$} $text]} {
        return [list $text]
    }
    # By its bytes, as there is no escape for every character.
    set bytes [encoding convertto utf-8 $text]
    set quoted [string map {\\ \\\\ \" \\\" \$ \\$ \[ \\[} $bytes]
    set word ""
    foreach char [split $quoted ""] {
        if {![regexp {[\n\t -~]} $char]} {
            set char [format \\u%04x [scan $char %c]]
        }
        append word $char
    }
    return "\[encoding convertfrom utf-8 \"$word\"\]"
}

# ---- The program

proc describe::Main {program {file ""} {script ""}} {
    uplevel #0 [list source $program]
    uplevel #0 $script
    puts -nonewline [tree]
    if {$file ne ""} {
        set channel [open $file w]
        puts -nonewline $channel [definitions]
        close $channel
    }
}

if {[info exists ::argv0] &&
    [file normalize $::argv0] eq [file normalize [info script]]} {
    if {[llength $::argv] ni {1 2 3}} {
        puts stderr "usage: describe.tcl program ?file? ?script?"
        exit 2
    }
    describe::Main {*}$::argv
}
