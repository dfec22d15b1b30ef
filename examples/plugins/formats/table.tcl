# Table: what all formats have in common. Rows are lists, the first one the
# heads of the columns. A format defines `line` and, if needed, `begin` and
# `end`; an addition overrides `rows`.

method Table write {rows} {
    this begin
    foreach row [this rows $rows] {
        puts [this line $row]
    }
    this end
}
method Table rows {rows} {
    return $rows
}
method Table begin {} {}
method Table end {} {}
