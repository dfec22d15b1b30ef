# Csv: values with commas between, and in quotes where they need them.

inherit Csv Table

method Csv line {row} {
    set values {}
    foreach value $row {
        if {[regexp {[",\r\n]} $value]} {
            set value \"[string map {\" \"\"} $value]\"
        }
        lappend values $value
    }
    return [join $values ,]
}
