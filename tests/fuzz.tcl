# A random program against a model: tclsh fuzz.tcl SEED LIMIT ?-verbose?
#
# Runs about LIMIT operations, a few hundred more for some seeds; ZEL_LIBRARY
# names the library. The same seed and limit make the same program everywhere. A
# difference is reported with the seed and the number of the operation, and the
# exit status is 1. With -verbose, each operation is written before it runs:
# number, depth, whether its outcome is known, words. script/fuzz runs this for
# long, and watches for crashes and for lines that begin "PANIC: ".
#
# Operations are definitions, creations, calls, deletions, renames,
# replacements, traces, coroutines and a few more, over a small pool of names
# that classes, objects and procedures share. Whatever the system calls back
# (methods, constructors, destructors, traces, the auto-loader, a replaced
# helper procedure, events) runs operations itself. Odd seeds end with
# operations without a model. The end is an unload, a deletion of the
# interpreter or of a namespace, often from inside a method.
#
# The model. Each class and each object has a number for its life: a delete
# trace of its command carries it, and a class also has a method named after it.
# So Tcl itself tells which entities there are and under which names. Methods,
# superclasses and the destructors that have run are followed as they happen.
# After each operation that runs at the top or in a plain method, everything is
# compared. Arrays must then be what they were at the last comparison, unless
# something has written to one. Which method an operation calls, and how it
# ends, is predicted unless operations run where it is half done.

if {[info commands die] eq ""} {
    interp alias [interp create inner] die {} interp delete inner
    inner eval [list set argv $argv]
    set failed [catch {inner eval [list source [info script]]} message]
    if {$failed && [interp exists inner]} {error $message $errorInfo}
    return
}
load $env(ZEL_LIBRARY) Zeltclobject

# F(K): the commands, names with {C life} for a class and {O life class} for an
# object. F(A): the contents of arrays by life, or by name where there is no
# entity. By class, there are F(M,life), its methods {name definition}, and
# F(S,life), its superclasses. F(E,life) and F(N,life) tell that an object was
# constructed, and destructed. F(x,*) is the context of the running operation.
# F(dirt) counts the operations that run where others are half done, F(settled)
# is its value at the last comparison.
array set F {
    pool {a b c d e {x y} \{ src varName ns::o ns::k} K {} A {} S,0 {} M,0 {}
    methods {m m n o unknown constructor constructor destructor destructor}
    alive {} dying {} deaths {} done 0 dirt 0 settled -1 writes 0 thrown 0
    expect {} quiet 0 wild 0 x,clean 1 x,mute 0 x,chained 0 x,renaming 0 x,id 0
    ops {
        {method $c $m args [body $id]} {method $k destructor {} [body $id]}
        {method $k $m args [body $id]} {method $e $m args [body $id]}
        {inherit $c $k} {inherit $k $c} {inherit $e $c} {$c $n} {$c $n} {$c $n}
        {$c $n 1} {$k $n} {$o m} {$o $w} {$o $w} {$o ${c}::m} {$o inherited}
        {$o dispose} {this $w} {this $w} {this inherited} {this inherited}
        {this ${c}::$w} {zelObject delete object $o} {zelObject delete class $c}
        {zelObject delete method $c $m} {zelObject info $query $n} {$co} {$co}
        {rename $e $n} {rename $e $n} {rename $e ""} {proc $n args {}}
        {set ::${e}(k) $id} {set ::${n}(k) $id} {unset -nocomplain ::$e}
        {trace add variable ::$e $when touched} {rename $co ""}
        {trace add command ::$e {rename delete} touched} {coroutine $co $o $w}
        {trace add variable ::$o $when touched} {zelObject profile $profile}
    }
    pieces {
        op op op op op {if {$::F(x,clean)} yield} {after 0 touched; update}
        {incr ::F(writes); set this(k[rnd 3]) 1}
        {incr ::F(writes); set class(k[rnd 3]) 1; unset -nocomplain this}
        {for {set i [info frame]} {$i} {incr i -1} {catch {info frame $i}}}
    }
    wildOps {
        {zelObject delete class zelObjRootClass} {rename zelObjRootClass $n}
        {$c a(k)} {$c ""} {$c ::$n} {rename [pick {method inherit this}] ""}
        {rename $o this} {trace add variable ::$o write {error thrown;#}}
        {trace add variable ::$o read touched} {method ::$n m {} {}}
    }
}
lassign $argv F(seed) F(limit) F(verbose)
set F(random) [expr {$F(seed) * 7919 % 2147483646 + 1}]

proc rnd {n} {
    set ::F(random) [expr {$::F(random) * 48271 % 2147483647}]
    expr {$::F(random) / 7 % $n}
}
proc pick {list} {lindex $list [rnd [llength $list]]}
# A name, most often of a class or an object that exists, never the root class.
proc name {kind} {
    if {![rnd 8] || [catch {zelObject info $kind} names]} {set names ""}
    set names [lsearch -all -inline -not $names zelObjRootClass]
    pick [expr {[llength $names] ? $names : $::F(pool)}]
}
proc get {dict key} {if {[dict exists $dict $key]} {dict get $dict $key}}
proc must {hold message} {
    if {$hold} return
    puts stderr "DIFFERENCE: seed $::F(seed), operation $::F(done): $message"
    exit 1
}

# ---------------------------------------------------------------- The model

# The walk up from a class, which comes first.
proc walk {class {seen {}}} {
    if {$class in $seen || ![info exists ::F(S,$class)]} {return $seen}
    lappend seen $class
    foreach super $::F(S,$class) {set seen [walk $super $seen]}
    return $seen
}
# The definition that a name leads to: - where it is built-in, or nothing.
proc lookup {classes method} {
    foreach class $classes {
        if {[set def [get $::F(M,$class) $method]] ne ""} {return $def}
    }
}
# The number of a command's life, or nothing.
proc life {name} {
    catch {trace info command ::$name} traces
    expr {[regexp {ended (\d+)} $traces -> life] ? $life : ""}
}
proc attach {name life} {
    trace add command ::$name delete [list ended $life]
    dict set ::F(alive) $life 1
}
proc ended {life name args} {
    dict unset ::F(alive) $life
    lappend ::F(deaths) $life
    dict set ::F(dying) [string range $name 2 end] $life
}
# The number of a class, which it receives here if it is new.
proc class {name} {
    global F
    foreach life [list [lindex [get $F(K) $name] 1] {*}[dict keys $F(alive)]] {
        if {![catch {zelObject info body $name #$life}]} {return $life}
    }
    set life [incr F(serial)]
    method $name #$life {} {}
    attach $name $life
    array set F [list M,$life [list #$life -] S,$life 0]
    return $life
}
# Takes over links that are new; a superclass comes before those it is added to.
proc links {} {
    foreach name [zelObject info classes] {
        foreach sub [zelObject info specializations $name] {
            upvar #0 F(S,[class $sub]) supers
            set life [class $name]
            if {$life ni $supers} {set supers [list $life {*}$supers]}
        }
    }
}

# Compares what is there with what is known, and takes note of the rest.
proc settle {} {
    global F
    set F(quiet) 1
    links
    foreach class [zelObject info classes] {
        dict set K $class [list C [set life [class $class]]]
        dict set names $life $class
        foreach object [zelObject info objects $class] {
            dict set K $object [list O [life $object] $life]
        }
    }
    set lives [lsort [lmap entity [dict values $K] {lindex $entity 1}]]
    must [expr {$lives eq [lsort [dict keys $F(alive)]] && [dict size $K]
                == [llength [zelObject info objects]] + [dict size $names]}] \
        "commands $K, not [lsort [dict keys $F(alive)]]"
    foreach life $F(deaths) {
        must [expr {![info exists F(E,$life)] || [info exists F(N,$life)]
                    || [incr F(N,) -1] >= 0}] "object $life not destructed"
        array unset F ?,$life
    }
    foreach name [lsort -unique [concat $F(pool) [dict keys $K]]] {
        set life [lindex [get $K $name] 1]
        if {$life eq "" && ![array exists ::$name]} continue
        set key [expr {$life eq "" ? $name : $life}]
        dict set A $key [lsort -stride 2 [array get ::$name]]
        must [expr {$F(writes) || [get $A $key] eq [get $F(A) $key]}] \
            "array $name: [get $A $key], not [get $F(A) $key]"
    }
    dict for {life class} $names {
        set walk [walk $life]
        set methods {}
        foreach from [lreverse $walk] {
            set in [expr {$from == $life ? "" : "[dict get $names $from]::"}]
            foreach name [dict keys $F(M,$from)] {
                dict set methods $name $in$name
            }
        }
        set subs [lmap sub [dict keys $names] {expr {$life in $F(S,$sub)}}]
        must [expr {[lsort [dict values $methods]]
                    eq [lsort [zelObject info methods $class 1]]
                    && [list $life {*}[lmap name \
                        [zelObject info classes $class] {class $name}]] eq $walk
                    && [llength [lsearch -all $subs 1]]
                    == [llength [zelObject info specializations $class]]}] \
            "class $class: not $walk; $methods; $subs of $names"
    }
    array set F [list K $K A $A settled $F(dirt)]
    array set F {dying {} deaths {} N, 0 writes 0 quiet 0}
}

# ------------------------------------------------------------ The program

# True where another operation may run.
proc going {} {
    expr {!$::F(quiet) && !$::F(x,mute) && [incr ::F(budget) -1] > 0}
}
# What traces, events and helpers run: operations where others are half done.
proc touched {args} {
    set context [array get ::F x,*]
    set ::F(x,clean) 0
    while {[going] && ![rnd 3]} op
    array set ::F $context
}
proc body {def} {
    return "enter $def \$objName \$methodName
        while {\[going] && \[rnd 2]} {catch \[pick \$::F(pieces)]}
        return -code \[set ::F(thrown) \[expr {!\[rnd 6]}]]"
}
proc enter {def object method} {
    global F
    must [expr {$F(expect) in [list "" $def]}] "$def called, not $F(expect)"
    set life [life $object]
    if {$method in {constructor destructor}} {set F(x,clean) 0}
    if {$method eq "constructor" && "$life[info procs ::$object]" eq ""} {
        attach $object $F(x,id)
    }
    if {$method eq "destructor" && !$F(x,chained)} {
        if {$life eq ""} {set life [get $F(dying) $object]}
        if {[info exists F(M,$life)]} {set life ""}
        must [expr {[incr F(N,$life)] < 2 || $life eq "" || $F(wild)}] \
            "object $life, $object: second destructor run"
    }
    array set F {expect "" x,chained 0}
}
# Runs an operation, in a method that of its object and itself.
proc op {} {
    global F
    upvar 1 objName object className class methodName method
    set context [array get F x,*]
    set id [set F(x,id) [incr F(serial)]]
    lassign [lmap kind {classes classes objects ""} {name $kind}] c k o n
    lassign [lmap list [list [list $c $o $n] [list $k $n zelObjRootClass] \
        $F(methods) {m n o unknown} {write unset array {write unset}} \
        {class classes interface methods objects specializations} \
        {start stop} {co0 co1 co2}] {pick $list}] e k m w when query profile co
    set words [eval list [pick $F(ops)]]
    lassign [string map [list "coroutine $co " ""] $words] cmd word type name
    # Tcl itself does not survive it when a command is replaced that is being
    # renamed, or a procedure comes back while it is replaced, or goes while it
    # is renamed; nor must a coroutine end that is running.
    set replaces [expr {$cmd eq "proc"
                        || $cmd ne "rename" && [string match *::* $word]}]
    set F(x,mute) [expr {($replaces || $cmd eq "rename")
                         && [life $word] eq ""}]
    set calm [expr {$F(x,clean) && !$F(wild)}]
    if {$cmd eq "this" && ![info exists object] || $replaces && $F(x,renaming)
        || $co in $words && !($calm && [info coroutine] eq "")} {
        return [array set F $context]
    }
    set dirt [incr F(dirt) [expr {!$calm}]]
    set exact [expr {$calm && $dirt == $F(settled) && $co ni $words}]
    incr F(done)
    if {$F(verbose) ne ""} {puts stderr "$F(done) [info level] $exact $words"}

    # The definition that must be called, and the life that must end.
    lassign [get $F(K) [expr {$cmd eq "this" ? $object : $cmd}]] kind life of
    lassign [get $F(K) $name] kind2 doomed
    set called ""
    if {$exact && $kind eq "O" && $words eq {this inherited}} {
        set walk [walk [lindex [get $F(K) $class] 1]]
        set called [lookup [lrange $walk 1 end] $method]
    } elseif {$exact && $kind eq "O"} {
        set called [lookup [walk $of] $word]
    } elseif {$exact && $kind eq "C" && $cmd ne "this" && !$F(x,mute)} {
        set F(quiet) 1  ;# an array trace is not to act here
        if {![array exists ::$word]
            && [namespace which -command ::$word] eq ""} {
            set called [lookup [walk $life] constructor]
        }
        set F(quiet) 0
    }
    array set F [list expect [string trim $called -] \
                     x,chained [expr {$words eq {this inherited}}] \
                     x,renaming [expr {$F(x,renaming) || $cmd eq "rename"}]]
    incr F(writes) [expr {$cmd in {set unset}}]
    set code [catch {uplevel [expr {$cmd eq "this"}] $words} result]
    array set F $context
    if {$F(wild)} return
    if {!$code} {
        if {$result eq $word && [zelObject info exists object $word]
            && [life $word] eq ""} {attach $word $id}
        if {[dict exists $F(alive) $id]} {set F(E,$id) 1}
        if {$cmd eq "method"} {dict set F(M,[class $word]) $type $id}
        if {$cmd eq "inherit"} links
        if {$type eq "method"} {dict unset F(M,[class $name]) $m}
    }
    must [expr {$called in {"" -} || $dirt != $F(dirt)
                || $F(expect) eq "" && $code == $F(thrown)}] \
        "$words: $code, $called not called or not $F(thrown): $result"
    if {!$calm} return
    must [expr {"$word $type $kind2" ni {"delete class C" "delete object O"}
                || ![dict exists $F(alive) $doomed]}] "$words: $doomed lives on"
    settle
}
proc finish {} {
    array set ::F {quiet 1 wild 1}
    puts "seed $::F(seed): $::F(done) operations"
    uplevel #0 [pick {{zelObject unload} {namespace delete ns} die}]
}

method zelObjRootClass #0 {} {}
method zelObjRootClass destructor {} [body -]
attach zelObjRootClass 0
foreach name [zelObject info methods zelObjRootClass] {dict set F(M,0) $name -}
namespace eval ns {}
rename unknown ""
proc auto_load args {touched; rnd 2}
set helper {touched; global $_name; info exists $_name}
if {$F(seed) % 4 == 0} {proc zelGlobalVarExists _name $helper}
while {$F(done) < $F(limit)} {set F(budget) 20; op}
set F(wild) 1
lappend F(ops) {*}$F(wildOps)
while {$F(done) < $F(limit) + 300} {set F(budget) 20; op}
lappend F(ops) {*}[lrepeat 9 finish]
while {!$F(quiet)} {set F(budget) 20; op}
catch {zelObject unload}
foreach co [info commands co?] {catch $co; catch {rename $co ""}}
must [expr {![dict size $F(alive)]}] "after the end: $F(alive)"
