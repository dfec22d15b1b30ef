#!/usr/bin/env tclsh
# queue.tcl ?arrivals? ?seed?: simulates 10,000 customers of a counter that can
# serve 60 an hour; 42 come in an hour, unless the argument says another number
# below 60. Times between arrivals and times of service are exponential, so that
# the means are known (M/M/1). They are shown beside. Times are in minutes.

if {![llength [info commands zelObject]]} {
    set library [file join [file dirname [info script]] .. build release \
                     libzeltclobject[info sharedlibextension]]
    if {[info exists ::env(ZEL_LIBRARY)]} {
        set library $::env(ZEL_LIBRARY)
    }
    load $library Zeltclobject
    unset library
}

# ---- Processes do something at a later time. The calendar is the class's own,
# whichever subclass a process belongs to.

method Process in {minutes method} {
    set event [list [expr {$class(now) + $minutes}] $objName $method]
    set class(events) [lsort -real -index 0 [lappend class(events) $event]]
}
method Process now {} {
    return $class(now)
}
array set Process {now 0.0 events {}}

proc runEvents {} {
    upvar #0 Process(events) events
    while {[llength $events]} {
        set events [lassign $events event]
        lassign $event ::Process(now) process method
        $process $method
    }
}

inherit Door Process
method Door constructor {customers pause} {
    array set this [list left $customers pause $pause]
    this in [random exponential $pause] open
}
method Door open {} {
    counter enter [Customer customer$this(left)]
    if {[incr this(left) -1] > 0} {
        this in [random exponential $this(pause)] open
    }
}

inherit Customer Process
method Customer constructor {} {
    set this(came) [this now]
}
method Customer serve {minutes} {
    waiting add [expr {[this now] - $this(came)}]
    delayed add [expr {[this now] > $this(came)}]
    this in $minutes leave
}
method Customer leave {} {
    staying add [expr {[this now] - $this(came)}]
    counter next
    this dispose
}

method Counter constructor {} {
    array set this {queue {} busy 0}
}
method Counter enter {customer} {
    lappend this(queue) $customer
    if {!$this(busy)} {
        this next
    }
}
method Counter next {} {
    set this(queue) [lassign $this(queue) customer]
    set this(busy) [expr {$customer ne ""}]
    if {$this(busy)} {
        $customer serve [random exponential 1.0]
    }
}

# ---- A multiplicative congruential generator: the same numbers everywhere

method Random constructor {seed} {
    set this(state) $seed
}
method Random exponential {mean} {
    set this(state) [expr {48271 * $this(state) % 2147483647}]
    return [expr {-$mean * log($this(state) / 2147483647.0)}]
}

method Mean constructor {} {
    array set this {count 0 sum 0.0}
}
method Mean add {value} {
    incr this(count)
    set this(sum) [expr {$this(sum) + $value}]
}
method Mean report {label theory} {
    set mean [expr {$this(sum) / $this(count)}]
    puts [format "%-24s%9.4f%9.4f%+9.1f %%" $label $mean $theory \
              [expr {100 * ($mean / $theory - 1)}]]
}

lassign $argv arrivals seed
set load [expr {($arrivals eq "" ? 42 : $arrivals) / 60.0}]  ;# of the counter
Random random [expr {$seed eq "" ? 1 : $seed}]
foreach mean {waiting delayed staying} {
    Mean $mean
}
Counter counter
Door door 10000 [expr {1 / $load}]
runEvents

puts [format "%-24s%9s%9s%11s" "" simulated theory deviation]
waiting report "Minutes of waiting" [expr {$load / (1 - $load)}]
staying report "Minutes in all" [expr {1 / (1 - $load)}]
delayed report "Share of those who wait" $load
# The means of this many customers scatter; theory knows how much, too.
set scatter [expr {sqrt((2 + 5*$load - 4*$load**2 + $load**3) / $load / 1e4)
                   / (1 - $load)}]
puts [format "Standard error of the first: %.1f %%" [expr {100 * $scatter}]]
