#!/usr/bin/env tclsh
# upgrade.tcl: a program that gets new versions of its classes while it runs.
# Thermostats heat rooms from the event loop. The upgrades are scripts, as a
# file or a socket might bring them; they change methods, the constructor and
# the superclasses. The rooms keep their temperatures and the clock ticks on.

if {![llength [info commands zelObject]]} {
    set library [file join [file dirname [info script]] .. build release \
                     libzeltclobject[info sharedlibextension]]
    if {[info exists ::env(ZEL_LIBRARY)]} {
        set library $::env(ZEL_LIBRARY)
    }
    load $library Zeltclobject
    unset library
}

# ---- Version 1. Temperatures are in tenths of a degree; a star means "on".

method Device constructor {} {
    set this(on) 0
}
method Device turn {on} {
    set this(on) $on
}

inherit Thermostat Device
method Thermostat constructor {temperature target} {
    this inherited
    array set this [list temperature $temperature target $target]
}
method Thermostat tick {} {
    incr this(temperature) [expr {$this(on) ? 4 : -3}]
    this control
    return "$objName[lindex {" " *} $this(on)] $this(temperature)"
}
method Thermostat control {} {
    this turn [expr {$this(temperature) < $this(target)}]
}

method Clock constructor {} {
    set this(ticks) 0
    after 2 [list $objName tick]
}
method Clock tick {} {
    incr this(ticks)
    foreach room [zelObject info objects Thermostat] {
        lappend rooms [$room tick]
    }
    puts [join $rooms "   "]
    after 2 [list $objName tick]
}

# ---- Upgrades

# Evaluates a script of definitions. If it fails, the classes have their former
# methods again, and those that it made are gone.
proc upgrade {version script} {
    foreach class [zelObject info classes] {
        dict set before $class [zelObject info class $class]
    }
    if {![catch {uplevel #0 $script} message]} {
        puts "version $version"
        return
    }
    puts "version $version refused: $message"
    foreach class [zelObject info classes] {
        if {![dict exists $before $class]} {
            zelObject delete class $class
            continue
        }
        # Definitions are a script, and as words a list with five for a method.
        foreach {- - method - -} [zelObject info class $class] {
            zelObject delete method $class $method
        }
        eval [dict get $before $class]
    }
}

# By the tick after which they come.
set upgrades(4) {
    method Thermostat constructor {temperature target {band 5}} {
        this inherited
        array set this \
            [list temperature $temperature target $target band $band]
    }
    method Thermostat control {} {
        if {abs($this(temperature) - $this(target)) > $this(band)} {
            this turn [expr {$this(temperature) < $this(target)}]
        }
    }
    foreach room [zelObject info objects Thermostat] {
        $room setAttribute band 5
    }
    Thermostat cellar 120 118 1
}
set upgrades(8) {
    method Thermostat control {} {this turn 1}
    method Alarm mute {} {set this(muted) 1}
    method Alarm ring {{tone loud short}} {}
}
set upgrades(9) {
    inherit Switch Device
    method Switch turn {on} {
        incr this(turns) [expr {$on != $this(on)}]
        this inherited $on
    }
    inherit Thermostat Switch
}
set upgrades(18) {
    method Clock tick {} {
        foreach room [zelObject info objects Thermostat] {
            puts "$room ([zelObject info classes $room]) turned\
                [$room attribute turns] times"
        }
        set this(stopped) yes
    }
}

Thermostat attic 170 180
Thermostat hall 203 200
Clock timer
trace add variable timer(ticks) write {apply {args {
    if {[info exists ::upgrades($::timer(ticks))]} {
        after 0 [list upgrade [incr ::version] $::upgrades($::timer(ticks))]
    }
}}}
# What fails in the event loop shall not leave the program without a clock.
proc bgerror {message} {puts stderr $::errorInfo; exit 1}
set version 1
vwait timer(stopped)
