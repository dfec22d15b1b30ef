# Html: a table in a web page.

inherit Html Table

method Html begin {} {
    puts <table>
}
method Html line {row} {
    set line <tr>
    foreach value $row {
        append line <td> [string map {& &amp; < &lt; > &gt;} $value]
    }
    return $line
}
method Html end {} {
    puts </table>
}
