#!/usr/bin/env wish
# browser.tcl program ?arg ...?: runs a Tcl program and shows, while it lives,
# its classes, methods, objects and their attributes in a window. There methods
# can be changed, scripts run, and the time that methods take measured. The
# program sees the arguments as its own. It ends with the browser: if it calls
# `exit`, and when the window is closed.
#
# A script that sources this file gets, instead of that,
#     browser::open title    opens the window, one in a process
#
# The browser is written with the classes that it shows. Its own are in the
# namespace `browser`, by which they are told from those of the program.

source [file join [file dirname [info script]] describe.tcl]

namespace eval browser {}

proc browser::isOwn {name} {
    return [string match browser::* $name]
}

# ---- The model: what is to be seen, without Tk
#
# Panes follow its attributes by traces. What they show as tables are lists of
# rows {id cell ...}. An id is a list, longer by one element than that of the
# row above it in a tree. If there is no selection, what depends on it is empty.
#   classes     rows {path class objects isRepeated}, the path from a root class
#   class       the one that the user has selected
#   methods     of this class: rows {id method parameters class}, with the class
#               that defines it; the id has as its one element {class method}
#   method      the selected one, {class method}
#   definition  of that method, as text
#   drafts      texts that are not applied yet, by {class method}
#   pattern     what the names of objects must match
#   objects     rows {id object attribute ...}
#   attributes  their names, in the same order
#   summary     how many there are
#   profile     rows {id method calls milliseconds average percent bar}, bar
#               in percent of the longest time
#   message     what the last action said, and isError: that it has failed

method browser::Model constructor {} {
    array set this {
        classes {} class "" methods {} method "" definition "" drafts {}
        pattern * objects {} attributes {} summary "" profile {}
        message "" isError 0 watched {} timer "" isSoon 0 pause 0
    }
    trace add variable this(pattern) write [list $objName soon]
    this tick
}
# Of more than that, the first are shown.
array set ::browser::Model {maxObjects 1000 maxAttributes 40}
method browser::Model destructor {} {
    after cancel $this(timer)
    $objName watch {}
}

# Calls another method for the user, who is told if it fails.
method browser::Model do {action args} {
    if {[catch {this $action {*}$args} problem]} {
        this report $problem 1
    }
}
method browser::Model report {text {isError 0}} {
    set this(isError) $isError
    set this(message) $text
}
# Only what differs is written, so that traces tell of changes.
method browser::Model set {attribute value} {
    if {$this($attribute) ne $value} {
        set this($attribute) $value
    }
}
method browser::Model select {attribute value} {
    this set $attribute $value
    this refresh
}
method browser::Model edit {text} {
    set drafts $this(drafts)
    if {$text eq $this(definition)} {
        dict unset drafts $this(method)
    } else {
        dict set drafts $this(method) $text
    }
    this set drafts $drafts
}
method browser::Model revert {} {
    this edit $this(definition)
}
# The text is taken as a list, not as a script: nothing in it is substituted.
method browser::Model define {text} {
    if {[llength $text] != 5 || [lindex $text 0] ne "method"} {
        error "should be: method className methodName args body"
    }
    if {![info complete [lindex $text 4]]} {
        error "in the body, a brace, bracket or quote is not closed"
    }
    {*}$text
    this revert
    this report "% [lrange $text 0 3] ..."
    this select method [lrange $text 1 2]
}
method browser::Model run {script} {
    set code [catch {uplevel #0 $script} result options]
    this soon
    if {$code == 1} {
        set trace [dict get $options -errorinfo]
        set end [string last "\n    (\"uplevel\" body" $trace]
        error "% $script\n[string range $trace 0 $end-1]"
    }
    this report "% $script\n$result"
}
method browser::Model startProfile {} {
    zelObject profile start
    this report "profiling ..."
}
method browser::Model stopProfile {} {
    set rows {}
    set longest 1
    foreach record [lsort -integer -decreasing -index 2 \
                        [zelObject profile stop]] {
        lassign $record name calls microseconds average share
        if {![browser::isOwn $name]} {
            set longest [expr {max($longest, $microseconds)}]
            lappend rows [list [list $name] $name $calls \
                              [expr {$microseconds / 1000.0}] $average \
                              [expr {100 * $share}] \
                              [expr {100 * $microseconds / $longest}]]
        }
    }
    this set profile $rows
    this report "profiled: [llength $rows] methods"
}

# Changes of attributes are noticed by traces. No trace tells of new classes,
# methods and objects, so these are looked up twice a second. Either way the
# looking up takes no more than a tenth of the time.
method browser::Model soon {args} {
    if {!$this(isSoon)} {
        set this(isSoon) 1
        this schedule 50
    }
}
method browser::Model tick {} {
    set start [clock milliseconds]
    if {[catch {this refresh} problem] && $problem ne $this(message)} {
        this report $problem 1
    }
    set this(pause) [expr {10 * ([clock milliseconds] - $start)}]
    set this(isSoon) 0
    this schedule 500
}
method browser::Model schedule {milliseconds} {
    after cancel $this(timer)
    set this(timer) [after [expr {max($milliseconds, $this(pause))}] \
                         [list $objName tick]]
}
method browser::Model refresh {} {
    this set classes [this findClasses]
    if {![zelObject info exists class $this(class)]} {
        this set class ""
    }
    this set methods [this findMethods]
    this set definition [this findDefinition]
    this findObjects
}

# The class graph as a tree: a class stands below each direct superclass, with
# its own subclasses below the first one only. The root class is left out where
# it is reached by way of another one.
method browser::Model findClasses {} {
    set paths {}
    foreach name [zelObject info classes] {
        if {[browser::isOwn $name]} continue
        set superclasses [describe::Above $name]
        foreach superclass $superclasses {
            lappend below($superclass) $name
        }
        if {![llength $superclasses]} {
            lappend paths [list $name]
        }
    }
    set rows {}
    while {[llength $paths]} {
        set paths [lassign $paths path]
        set name [lindex $path end]
        set isRepeated [info exists isShown($name)]
        set isShown($name) 1
        lappend rows [list $path $name \
                          [llength [zelObject info objects $name]] $isRepeated]
        if {!$isRepeated && [info exists below($name)]} {
            set added {}
            foreach subclass $below($name) {
                lappend added [concat $path [list $subclass]]
            }
            set paths [concat $added $paths]
        }
    }
    return $rows
}
method browser::Model findMethods {} {
    set rows {}
    if {$this(class) ne ""} {
        foreach name [list $this(class) \
                          {*}[zelObject info classes $this(class)]] {
            foreach method [lsort [describe::ownMethods $name]] {
                if {![info exists isFound($method)]} {
                    set isFound($method) 1
                    lappend rows [list [list [list $name $method]] $method \
                                   [zelObject info arglist $name $method] $name]
                }
            }
        }
    }
    return $rows
}
# The list that `define` takes. While it is edited, the method may be deleted.
method browser::Model findDefinition {} {
    lassign $this(method) name method
    if {![catch {zelObject info body $name $method} body]} {
        set parameters [zelObject info arglist $name $method]
        return [list method $name $method $parameters $body]
    }
    if {![dict exists $this(drafts) $this(method)]} {
        this set method ""
    }
    return ""
}
method browser::Model findObjects {} {
    set all {}
    if {$this(class) ne ""} {
        set all [lsearch -all -inline [zelObject info objects $this(class)] \
                     $this(pattern)]
    }
    set objects [lrange $all 0 [expr {$class(maxObjects) - 1}]]
    this watch $objects
    foreach object $objects {
        upvar #0 $object array
        foreach attribute [array names array] {
            set isFound($attribute) 1
        }
    }
    set attributes [lrange [lsort -dictionary [array names isFound]] \
                        0 [expr {$class(maxAttributes) - 1}]]
    set rows {}
    foreach object $objects {
        upvar #0 $object array
        set row [list [list $object] $object]
        foreach attribute $attributes {
            set value ""
            catch {set value $array($attribute)}  ;# none, or a trace objects
            lappend row [browser::Line $value]
        }
        lappend rows $row
    }
    this set attributes $attributes
    this set objects $rows
    this set summary "[llength $objects] of [llength $all] objects"
}

# Traces the attributes of these objects, and of no others. All traces are set
# anew, since some may have gone with their arrays.
method browser::Model watch {objects} {
    foreach {list operation} [list $this(watched) remove $objects add] {
        foreach object $list {
            upvar #0 $object array
            trace $operation variable array {write unset} [list $objName soon]
        }
    }
    set this(watched) $objects
}

# The beginning of a text, in one line. What is cut is a copy: a list of the
# program's should remain one inside Tcl.
proc browser::Line {text} {
    return [string map {\n \\n \r \\r \t \\t} [string range " $text" 1 200]]
}

# ---- Panes: frames that show attributes of the model. They end with the
# window, and it ends with them when the program unloads the library.

method browser::Pane constructor {model path} {
    array set this [list model $model path $path traces {}]
    ttk::frame $path
    # Not `dispose`, which does not work during an unload.
    bind $path <Destroy> [list rename $objName ""]
}
method browser::Pane destructor {} {
    foreach trace $this(traces) {
        trace remove variable {*}$trace
    }
    destroy .browser
}
# From now on, `show` is called whenever the model writes the attribute.
method browser::Pane follow {attribute} {
    set trace [list ::$this(model)($attribute) write [list $objName show]]
    trace add variable {*}$trace
    lappend this(traces) $trace
    this show
}
# Manages a widget that can be scrolled, below what is there.
method browser::Pane addScrolled {widget} {
    ttk::scrollbar $widget-y -command [list $widget yview]
    ttk::scrollbar $widget-x -command [list $widget xview] -orient horizontal
    $widget configure -yscrollcommand [list $widget-y set] \
        -xscrollcommand [list $widget-x set]
    grid $widget - - - $widget-y -sticky nsew
    grid $widget-x - - - -sticky ew
    grid rowconfigure $this(path) $widget -weight 1
    grid columnconfigure $this(path) 3 -weight 1
}

# ---- Tables: panes that show rows of the model. A click on a heading sorts
# them, another one turns the order round.

inherit browser::Table browser::Pane

# attribute: the model's rows. selects: the attribute that the user sets by
# selecting a row, if any. columns: lists of the heading and of options of a
# column of the widget.
method browser::Table constructor {model path attribute selects columns} {
    this inherited $model $path
    array set this [list attribute $attribute selects $selects columns {} \
                        order {} shown {} items $path.items]
    ttk::treeview $this(items) -selectmode browse -height 5
    this addControls
    bind $this(items) <<TreeviewSelect>> [list $objName selected]
    this addScrolled $this(items)
    this setColumns $columns
    this follow $attribute
}
method browser::Table addControls {} {}
method browser::Table setColumns {columns} {
    if {$columns eq $this(columns)} return
    set this(columns) $columns
    # The widget's names for them are numbers: not every heading would do.
    $this(items) configure -columns [lsearch -all [lrange $columns 1 end] *]
    set number -1
    foreach column $columns {
        $this(items) column #[incr number] {*}[lrange $column 1 end]
    }
    this sortBy ""
}
method browser::Table sortBy {sorted {direction -increasing}} {
    set this(order) [list $sorted $direction]
    set number -1
    foreach column $this(columns) {
        set heading [lindex $column 0]
        set next -increasing
        if {[incr number] eq $sorted && $direction eq "-increasing"} {
            append heading " \u25b4"
            set next -decreasing
        } elseif {$number eq $sorted} {
            append heading " \u25be"
        }
        $this(items) heading #$number -text $heading \
            -anchor [$this(items) column #$number -anchor] \
            -command [list $objName sortBy $number $next]
    }
    this show
}
method browser::Table sorted {rows} {
    lassign $this(order) column direction
    if {$column eq ""} {
        return $rows
    }
    set order [list $direction -index [expr {$column + 1}]]
    if {[catch {lsort -real {*}$order $rows} sorted]} {
        set sorted [lsort -dictionary {*}$order $rows]
    }
    return $sorted
}
# Brings the items up to date, touching only those that differ. They have the
# ids of the rows.
method browser::Table show {args} {
    set rows [set ::$this(model)($this(attribute))]
    set before $this(shown)
    set this(shown) {}
    foreach row $rows {
        dict set this(shown) [lindex $row 0] $row
    }
    foreach id [dict keys $before] {
        if {![dict exists $this(shown) $id] && [$this(items) exists $id]} {
            $this(items) delete [list $id]
        }
    }
    foreach row $rows {
        set id [lindex $row 0]
        if {![$this(items) exists $id]} {
            $this(items) insert [lrange $id 0 end-1] end -id $id -open 1 \
                {*}[this options $row]
        } elseif {[dict get $before $id] ne $row} {
            $this(items) item $id {*}[this options $row]
        }
    }
    foreach row [this sorted $rows] {
        set id [lindex $row 0]
        lappend below([lrange $id 0 end-1]) $id
    }
    foreach above [array names below] {
        $this(items) children $above $below($above)
    }
}
# A row as options of an item.
method browser::Table options {row} {
    set cells {}
    foreach cell [lrange $row 1 end] {
        lappend cells [browser::Line $cell]
    }
    return [list -text [lindex $cells 0] -values [lrange $cells 1 end]]
}
method browser::Table selected {} {
    foreach id [$this(items) selection] {
        if {$this(selects) ne ""} {
            $this(model) do select $this(selects) [lindex $id end]
        }
    }
}

# A class that is shown before, further up, is grey.
inherit browser::ClassTable browser::Table
method browser::ClassTable addControls {} {
    $this(items) tag configure repeated1 -foreground #777777
}
method browser::ClassTable options {row} {
    return [list {*}[this inherited $row] -tags repeated[lindex $row 3]]
}

inherit browser::ObjectTable browser::Table
method browser::ObjectTable addControls {} {
    set path $this(path)
    ttk::label $path.summary -textvariable ::$this(model)(summary)
    ttk::label $path.label -text "   Names like"
    ttk::entry $path.pattern -textvariable ::$this(model)(pattern) -width 20
    grid $path.summary $path.label $path.pattern -pady 4 -padx 4
}
method browser::ObjectTable show {args} {
    set columns {{Object -width 150 -stretch 0}}
    foreach attribute [set ::$this(model)(attributes)] {
        lappend columns [list [browser::Line $attribute] -width 120 -stretch 0]
    }
    this setColumns $columns
    this inherited
}

inherit browser::ProfileTable browser::Table
method browser::ProfileTable addControls {} {
    foreach {name action} {Start startProfile Stop stopProfile} {
        ttk::button $this(path).$action -text $name \
            -command [list $this(model) do $action]
    }
    grid $this(path).startProfile $this(path).stopProfile -pady 4
}
method browser::ProfileTable options {row} {
    lassign $row id name calls time each share bar
    return [list -text " [browser::Line $name]" \
                -values [list $calls [format %.2f $time] [format %.2f $each] \
                             [format %.1f $share]] \
                -image [browser::Bar $bar]]
}
# A picture of a bar of so many percent. There is one for each number.
proc browser::Bar {percent} {
    set image ::browser::bar$percent
    if {![llength [info commands $image]]} {
        image create photo $image -width 100 -height 9
        $image put #e0e0e0 -to 0 0 100 9
        if {$percent > 0} {
            $image put #4a7ab5 -to 0 0 $percent 9
        }
    }
    return $image
}

# ---- The other panes

inherit browser::Editor browser::Pane
method browser::Editor constructor {model path} {
    this inherited $model $path
    set this(text) [text $path.text -width 60 -height 10 -undo 1 -wrap none \
                        -font TkFixedFont -background white]
    ttk::button $path.apply -text Apply -command [list $objName apply]
    ttk::button $path.revert -text Revert -command [list $model do revert]
    grid $path.apply $path.revert -pady 4 -sticky w
    this addScrolled $this(text)
    bind $this(text) <<Modified>> [list $objName edited]
    this follow definition
    this follow drafts
}
method browser::Editor apply {} {
    $this(model) do define [$this(text) get 1.0 end-1c]
}
method browser::Editor edited {} {
    if {[set ::$this(model)(method)] ne ""} {
        $this(model) do edit [$this(text) get 1.0 end-1c]
    }
    $this(text) edit modified 0
}
method browser::Editor show {args} {
    upvar #0 $this(model) model
    set isDraft [dict exists $model(drafts) $model(method)]
    set text $model(definition)
    if {$isDraft} {
        set text [dict get $model(drafts) $model(method)]
    }
    $this(text) configure -state normal
    if {[$this(text) get 1.0 end-1c] ne $text} {
        $this(text) replace 1.0 end $text
        $this(text) edit reset
    }
    if {$model(method) eq ""} {
        $this(text) configure -state disabled
    }
    set state [lindex {disabled !disabled} $isDraft]
    $this(path).apply state $state
    $this(path).revert state $state
}

# A line for scripts, and a log of what became of these and all other actions.
inherit browser::Console browser::Pane
method browser::Console constructor {model path} {
    this inherited $model $path
    array set this [list script "" log $path.log]
    ttk::entry $path.script -textvariable ::${objName}(script) \
        -font TkFixedFont
    ttk::button $path.run -text Run -command [list $objName run]
    bind $path.script <Return> [list $path.run invoke]
    grid $path.run $path.script - - -pady 4 -sticky ew
    text $this(log) -height 5 -wrap none -font TkFixedFont \
        -background #f4f4f4 -state disabled
    $this(log) tag configure error -foreground #b00000
    this addScrolled $this(log)
    this follow message
}
method browser::Console run {} {
    $this(model) do run $this(script)
}
method browser::Console show {args} {
    upvar #0 $this(model) model
    $this(log) configure -state normal
    if {$model(message) ne ""} {
        $this(log) insert end [string trimright $model(message)]\n \
            [lindex {"" error} $model(isError)]
    }
    $this(log) configure -state disabled
    $this(log) see end-1l
}

# ---- The program

proc browser::open {title} {
    package require Tk 8.5
    if {[tk windowingsystem] eq "x11"} {
        ttk::style theme use clam
    }
    toplevel .browser
    wm title .browser $title
    wm geometry .browser 1000x840
    set all [ttk::panedwindow .browser.all -orient vertical]
    set upper [ttk::panedwindow $all.upper -orient horizontal]
    set right [ttk::panedwindow $upper.right -orient vertical]
    set book [ttk::notebook $all.book]

    set model [Model browser::model]
    bind $all <Destroy> [list catch [list rename $model ""]]
    ClassTable browser::classes $model $upper.classes classes class {
        {Class -width 190} {Objects -width 70 -anchor e -stretch 0}
    }
    Table browser::methods $model $right.methods methods method {
        {Method -width 150} {Parameters -width 200} {"Defined by" -width 150}
    }
    Editor browser::editor $model $right.editor
    ObjectTable browser::objects $model $book.objects objects "" {}
    set columns {{Method -width 400}}
    foreach heading [list Calls "Time (ms)" "Each (\u00b5s)" "Share (%)"] {
        lappend columns [list $heading -width 100 -anchor e -stretch 0]
    }
    ProfileTable browser::profile $model $book.profile profile "" $columns
    Console browser::console $model $all.console
    $right add $right.methods -weight 1
    $right add $right.editor -weight 1
    $upper add $upper.classes -weight 1
    $upper add $right -weight 3
    $book add $book.objects -text Objects
    $book add $book.profile -text Profile
    $all add $upper -weight 3
    $all add $book -weight 2
    $all add $all.console -weight 1
    pack $all -fill both -expand 1 -padx 6 -pady 6
}

proc browser::main {program args} {
    if {[catch {open "[file tail $program] - classes"} problem]} {
        puts stderr "browser.tcl needs Tk (Debian: tk8.6) and a display:\
            $problem"
        exit 1
    }
    # The main window is the program's: hidden until something is put into it.
    wm withdraw .
    bind . <Configure> {
        wm deiconify .
        bind . <Configure> {}
    }
    wm protocol .browser WM_DELETE_WINDOW exit
    update  ;# the program may take its time
    set ::argv0 $program
    set ::argv $args
    set ::argc [llength $args]
    model do run [list source $program]
    tkwait window .  ;# tclsh would end here
}

if {[info exists ::argv0] &&
    [file normalize $::argv0] eq [file normalize [info script]]} {
    if {![llength $::argv]} {
        puts stderr "usage: browser.tcl program ?arg ...?"
        exit 2
    }
    browser::main {*}$::argv
}
