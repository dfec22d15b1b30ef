# What the driver and its workers share; read into the namespace bench.

variable rows {}  ;# row -> options, as rows.tcl describes them, and -title

proc row {name title args} {
    variable rows
    dict set rows $name [dict merge {
        -classes {} -except "" -setup "" -body "" -kind loop
    } $args [list -title $title]]
    foreach {option value} [list \
        -check [dict get $rows $name -body] \
        -count [expr {[dict get $rows $name -kind] eq "loop" ? 1000 : 0}] \
    ] {
        if {![dict exists $rows $name $option]} {
            dict set rows $name $option $value
        }
    }
}

# 100000 -> 100,000
proc commas {number} {
    while {[regsub {^(\d+)(\d{3})} $number {\1,\2} number]} {}
    return $number
}

source [file join $folder rows.tcl]
