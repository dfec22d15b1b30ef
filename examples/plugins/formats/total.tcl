# Total: a last row with the sum of each column but the first. Of a format's
# superclass, Table, it overrides `rows`.

method Total rows {rows} {
    set total Total
    for {set column 1} {$column < [llength [lindex $rows 0]]} {incr column} {
        set sum 0
        foreach row [lrange $rows 1 end] {
            set sum [expr {$sum + [lindex $row $column]}]
        }
        lappend total $sum
    }
    return [linsert $rows end $total]
}
