#!/usr/bin/env tclsh
# bank.tcl: bank accounts, and transactions that roll back. Amounts are in
# cents; what an account refuses is an error whose errorCode begins with BANK.

if {![llength [info commands zelObject]]} {
    set library [file join [file dirname [info script]] .. build release \
                     libzeltclobject[info sharedlibextension]]
    if {[info exists ::env(ZEL_LIBRARY)]} {
        set library $::env(ZEL_LIBRARY)
    }
    load $library Zeltclobject
    unset library
}

method Account constructor {{balance 0} {credit 0}} {
    note $objName
    array set this [list balance $balance credit $credit]
}
method Account destructor {} {
    note $objName
}
method Account deposit {amount} {
    this change $amount $amount
}
method Account withdraw {amount} {
    this change $amount -$amount
}
method Account change {amount change} {
    if {![regexp {^[1-9]\d*$} $amount]} {
        error "not an amount: \"$amount\"" {} [list BANK AMOUNT $amount]
    }
    set missing [expr {-($this(balance) + $this(credit) + $change)}]
    if {$missing > 0} {
        error "$objName lacks $missing" {} [list BANK FUNDS $objName $missing]
    }
    note $objName
    incr this(balance) $change
}
# What the payee refuses, the payer gets back: the transaction sees to it.
method Account pay {payee amount} {
    transaction {
        this withdraw $amount
        $payee deposit $amount
    }
}

# ---- Transactions. class(open): those in progress, the outermost first.

method Transaction constructor {} {
    set this(before) {}
    lappend class(open) $objName
}
method Transaction destructor {} {
    set class(open) [lrange $class(open) 0 end-1]
}
set Transaction(open) {}

# Keeps what an account was when the transaction first met it. An account in
# its constructor has no attributes yet.
method Transaction note {account} {
    if {![dict exists $this(before) $account]} {
        set kind [lindex [zelObject info classofobject $account] 0]
        dict set this(before) $account [list $kind [array get ::$account]]
    }
}
# Outer transactions have noted the same accounts, so that the way back adds
# nothing to what they keep.
method Transaction rollBack {} {
    dict for {account before} $this(before) {
        lassign $before kind attributes
        set exists [zelObject info exists object $account]
        if {$attributes eq "" && $exists} {
            $account dispose
        } elseif {$attributes ne ""} {
            if {!$exists} {$kind $account}
            array set ::$account $attributes
        }
    }
}
proc note {account} {
    foreach transaction $::Transaction(open) {
        $transaction note $account
    }
}
# Runs a script. If it fails, no account has changed, and none has come or gone.
proc transaction {script} {
    set transaction [Transaction transaction[incr ::Transaction(begun)]]
    if {[catch {uplevel 1 $script} result options] == 1} {
        $transaction rollBack
    }
    $transaction dispose
    dict incr options -level
    return -options $options $result
}

# ---- What a bank does: each script, how it fails, and the balances after it

foreach script {
    {Account ann 10000; Account bob; Account shop 90000 50000}
    {ann pay bob 2500}
    {ann pay bob 10000}
    {ann pay bob -1}
    {ann pay nobody 100}
    {transaction {foreach payee {ann bob ann} {shop pay $payee 50000}}}
    {transaction {
        Account cid 700
        catch {transaction {cid pay bob 700; cid dispose; bob pay ann 9999}}
        cid pay ann 200
    }}
    {transaction {Account eve; cid dispose; ann pay eve 7000; eve pay bob 8000}}
    {transaction {cid pay bob 500; cid dispose}}
} {
    puts "% $script"
    if {[catch $script message options]} {
        puts "error: $message \[[dict get $options -errorcode]\]"
    }
    foreach account [zelObject info objects] {
        puts -nonewline "  $account [$account attribute balance]"
    }
    puts ""
}
