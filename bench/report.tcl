# Writes what was measured: tables in Markdown, charts by gnuplot. Read into the
# namespace bench of the driver.

# ----------------------------------------------------------------- Formats

# A number with three digits that count.
proc formatted {value} {
    if {$value >= 999.5} {
        return [commas [expr {round($value)}]]
    }
    set decimals 3
    foreach limit {0.9995 9.995 99.95} {
        incr decimals [expr {-($value >= $limit)}]
    }
    return [format %.*f $decimals $value]
}

# A ratio, with less of what is only noise.
proc formattedRatio {ratio} {
    return [format [expr {$ratio < 0.0995 ? "%.3f" : "%.2f"}] $ratio]
}

# The value of a row that stands for a system: of a growth, the time with the
# largest number of objects that all systems have.
proc cellValue {row system} {
    variable results
    set measured [dict get $results $row $system]
    if {[dict exists $measured growth]} {
        return [dict get $measured growth [lindex [sizes tcloo] end]]
    }
    return [lindex [dict values $measured] 0]
}

# The ratio to TclOO, "" where there is none.
proc ratio {row system} {
    variable results
    if {![dict exists $results $row tcloo]
        || ![dict exists $results $row $system]} {
        return ""
    }
    return [expr {double([cellValue $row $system]) / [cellValue $row tcloo]}]
}

proc tableLine {cells} {
    return "| [join $cells { | }] |\n"
}

# A table of the values of all rows, with the ratios in brackets.
proc valueTable {corner} {
    variable rows
    variable systems
    variable results
    set text [tableLine [list $corner {*}[dict values $systems]]]
    append text "|---|[string repeat ---:| [dict size $systems]]\n"
    dict for {row measured} $results {
        set title [dict get $rows $row -title]
        if {[dict get $rows $row -kind] eq "memory"} {
            append title ", bytes"
        }
        set cells [list $title]
        foreach system [dict keys $systems] {
            set cell -
            if {[dict exists $measured $system]} {
                set cell [formatted [cellValue $row $system]]
                set ratio [ratio $row $system]
                if {$ratio ne ""} {
                    append cell " ([formattedRatio $ratio])"
                }
            }
            lappend cells $cell
        }
        append text [tableLine $cells]
    }
    return $text
}

# ------------------------------------------------------------------ Growth

proc growthRows {} {
    variable rows
    variable results
    return [lmap row [dict keys $results] {
        if {[dict get $rows $row -kind] ne "growth"} {
            continue
        }
        set row
    }]
}

# The exponent e if the time of all grows like n^e: one more than the slope of
# the time of one, by least squares on the logarithms.
proc exponent {growth} {
    lassign {0 0 0 0 0} n sumX sumY sumXX sumXY
    dict for {size time} $growth {
        set x [expr {log($size)}]
        set y [expr {log($time)}]
        incr n
        set sumX [expr {$sumX + $x}]
        set sumY [expr {$sumY + $y}]
        set sumXX [expr {$sumXX + $x * $x}]
        set sumXY [expr {$sumXY + $x * $y}]
    }
    return [expr {1 + ($n * $sumXY - $sumX * $sumY)
                  / ($n * $sumXX - $sumX * $sumX)}]
}

# The times of one object by the number of objects, and the exponents: over the
# numbers that all systems have, and over all numbers.
proc growthTable {} {
    variable systems
    variable results
    set common [sizes tcloo]
    set all [sizes zel]
    set ends [lsort -integer -unique [list [lindex $common end] \
                                          [lindex $all end]]]
    set text [tableLine [list "order, system" \
        {*}[lmap size $all {commas $size}] \
        {*}[lmap end $ends {string cat "growth to " [commas $end]}]]]
    append text "|---|[string repeat ---:| \
        [expr {[llength $all] + [llength $ends]}]]\n"
    foreach row [growthRows] {
        dict for {system measured} [dict get $results $row] {
            set growth [dict get $measured growth]
            set cells [list "[orderOf $row], [dict get $systems $system]"]
            foreach size $all {
                if {[dict exists $growth $size]} {
                    lappend cells [formatted [dict get $growth $size]]
                } else {
                    lappend cells -
                }
            }
            foreach end $ends {
                if {[dict exists $growth $end]} {
                    lappend cells [format n^%.2f [exponent [dict filter \
                        $growth script {size time} {expr {$size <= $end}}]]]
                } else {
                    lappend cells -
                }
            }
            append text [tableLine $cells]
        }
    }
    return $text
}

proc orderOf {row} {
    variable rows
    return [dict get {
        created "order of creation" reverse "reverse order"
        random "random order"
    } [dict get $rows $row -order]]
}

# ------------------------------------------------------------------ Charts

variable colours {
    zel #1f5fbf tcloo #222222 nx #e08a1e xotcl #b8b130 itcl #b0413e
    snit #7d5ba6 floor #9a9a9a floor_upvar #c8c8c8
}

# Draws a chart as SVG.
proc draw {path width height commands} {
    if {[catch {exec gnuplot << "
        set terminal svg size $width,$height background 'white' \
            font 'sans-serif,12'
        set output '$path'
        $commands
    " 2>@1} said]} {
        variable failures
        incr failures
        note "failed: the chart [file tail $path]: $said"
    }
}

# Bars from TclOO's 1 to the ratio: to the right what is slower, to the left
# what is faster.
proc drawRatios {path} {
    variable rows
    variable systems
    variable results
    variable colours
    set shown [lmap row [dict keys $results] {
        if {![dict exists $results $row tcloo]} {
            continue
        }
        set row
    }]
    set bars [lmap system [dict keys $systems] {
        if {$system in {tcloo floor_upvar}} {
            continue
        }
        set system
    }]
    if {[llength $shown] == 0} {
        return
    }

    set height [expr {0.84 / [llength $bars]}]
    set data ""
    set plots {}
    set top -0.42
    foreach system $bars {
        append data "\$$system << END\n"
        set y 0
        foreach row $shown {
            set ratio [ratio $row $system]
            if {$ratio ne ""} {
                set low [expr {$y + $top}]
                append data "$ratio $low 1 $ratio $low\
                    [expr {$low + $height}]\n"
            }
            incr y
        }
        append data "END\n"
        lappend plots "\$$system using 1:2:3:4:5:6 with boxxyerror\
            fillcolor '[dict get $colours $system]'\
            title '[dict get $systems $system]'"
        set top [expr {$top + $height}]
    }
    set labels {}
    set bands ""
    for {set y 0} {$y < [llength $shown]} {incr y} {
        lappend labels "'[dict get $rows [lindex $shown $y] -title]' $y"
        if {$y % 2} {
            append bands "set object rectangle behind fillcolor '#eeeeee'\
                fillstyle noborder\
                from graph 0, first $y - 0.5 to graph 1, first $y + 0.5\n"
        }
    }
    set pixels [expr {110 + 44 * [llength $shown]}]
    draw $path 900 $pixels "
        $data
        $bands
        set title 'Cost in relation to TclOO (logarithmic; left is better)'
        set logscale x
        set xtics add ('1' 1)
        set format x '%g'
        set grid xtics
        set arrow from 1, graph 0 to 1, graph 1 nohead linewidth 2
        set yrange \[[llength $shown] - 0.5:-0.5\]
        set ytics ([join $labels {, }]) scale 0
        set key at screen 0.5, screen [expr {6.0 / $pixels}] \
            bottom center horizontal maxcols [llength $bars] \
            samplen 1
        set bmargin 4
        set style fill solid noborder
        plot [join $plots {, }]
    "
}

proc drawGrowth {path} {
    variable systems
    variable results
    variable colours
    set growthRows [growthRows]
    if {[llength $growthRows] == 0} {
        return
    }
    set sizes [sizes zel]
    set tics [lmap size $sizes {
        string cat '[commas $size]' " " $size
    }]
    set commands "
        set multiplot layout 1, [llength $growthRows] margins 0.05, 0.84, \
            0.16, 0.8 spacing 0.04 \
            title 'Time to delete one of n objects, microseconds'
        set logscale xy
        set xtics ([join $tics {, }]) font ',9'
        set format y '%g'
        set xlabel 'n'
        set grid
        set yrange \[0.1:100\]
        set xrange \[[lindex $sizes 0] * 0.7:[lindex $sizes end] * 1.4\]
        set key at screen 0.99, screen 0.6 top right vertical samplen 2
    "
    foreach row $growthRows {
        set plots {}
        dict for {system measured} [dict get $results $row] {
            append commands "\$$row$system << END\n"
            dict for {size time} [dict get $measured growth] {
                append commands "$size $time\n"
            }
            append commands "END\n"
            lappend plots "\$$row$system with linespoints linewidth 2\
                pointtype 7 pointsize 0.5\
                linecolor '[dict get $colours $system]'\
                title '[dict get $systems $system]'"
        }
        # One key serves all.
        append commands "set title 'in [orderOf $row]'\n" \
            "plot [join $plots {, }]\n" "unset key\n"
    }
    draw $path 1000 360 $commands
}

# ------------------------------------------------------------------- Files

proc writeFile {path text} {
    set file [open $path w]
    puts -nonewline $file $text
    close $file
    note "written: $path"
}

# What was measured, and where.
proc circumstances {} {
    variable systems
    variable versions
    set processor "unknown processor"
    catch {
        set file [open /proc/cpuinfo]
        regexp {model name\s*: ([^\n]*)} [read $file] -> processor
        close $file
    }
    set peers {}
    foreach system {nx xotcl itcl snit} {
        if {[dict exists $versions $system]} {
            lappend peers \
                "[dict get $systems $system] [dict get $versions $system]"
        }
    }
    return "Tcl [info patchlevel], TclOO [dict get $versions tcloo],\
        [join $peers {, }]; $processor; [clock format [clock seconds] \
        -format %Y-%m-%d]."
}

proc reportTimes {folder} {
    variable rounds
    variable quick
    set text "# What calls and objects cost

[circumstances]

Microseconds, and in brackets the ratio to TclOO in the same run. The best of
the rounds counts; number of rounds: $rounds. In a round, each row is measured
with one system after the other, in processes of their own. The loop around what
is measured is subtracted. A dash: the system does not offer this.
`script/bench` makes this page.

**Noise.** Whatever else the machine does disturbs the times. Compare the ratios
of one run, not the microseconds of two, and take no difference of a few percent
for real: `script/bench --instructions` counts, and can be repeated.

!\[Ratios to TclOO\](ratios.svg)

[valueTable operation]"
    if {[llength [growthRows]] > 0} {
        append text "
## Deleting many objects

Microseconds for each of n objects, and how the time of all of them grows.

!\[Growth\](growth.svg)

[growthTable]"
    }
    if {$quick} {
        append text "
This was a quick run: shorter, and with fewer objects than the titles say.
"
    }
    append text "
## What is compared

- *plain procedure*: what a program without objects would do. A call calls a
  procedure, an object is a global array, sorted names are `lsort` of a list. Of
  the many that are deleted, each is a procedure: the least that a system can
  take whose objects are commands. In random order, all take longer the more
  there are: 10,000 fit into the processor's cache, 100,000 do not.
- *procedure with upvar*: a procedure called with the parameters `objName`,
  `className` and `methodName`, whose body begins with the line `upvar #0
  \$className class \$objName this`.
- Snit delegates instead of inheriting. Itcl has no class that is inherited by
  two ways.
- A class of 20 methods is made by a script that is compiled already, under a
  new name each time; the bodies of the methods are never compiled.
- Of the lists of method names, this library's is sorted, and has the inherited
  ones, too. It is made for the first time only: the last list is kept until
  something is defined. Made anew each time, it takes twice as long as TclOO's.
- Memory is the growth of the resident memory by 100,000 objects, divided.
"
    writeFile [file join $folder results.md] $text
    drawRatios [file join $folder ratios.svg]
    drawGrowth [file join $folder growth.svg]
    puts "\n[valueTable operation]"
    if {[llength [growthRows]] > 0} {
        puts [growthTable]
    }
}

proc reportInstructions {folder} {
    set table [valueTable operation]
    writeFile [file join $folder instructions.md] "# Instructions per operation

[circumstances]

Counted by callgrind, and in brackets the ratio to TclOO: the difference between
2N and N repetitions, divided by N, less the loop. `script/bench --instructions`
makes this page.

$table"
    puts "\n$table"
}
