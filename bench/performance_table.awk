# Makes a Markdown table of the results of the benchmark programs (see WriteResultsTo in table.h).
# With -v FORM=plot it makes the data of performance.gnuplot instead: of the rows that have peers the
# place, the title, how many times as fast as the strongest peer the library is (median, quartiles),
# and whether the goals are met.
BEGIN {
    FS = "\t"
    if (FORM != "plot") {
        print "| | kq | peers | kq to the strongest | goal | |"
        print "|---|---|---|---|---|---|"
    }
}

# Three digits, with separators of thousands.
function number(value,    text, digits) {
    if (value >= 99.95) text = sprintf("%.0f", value)
    else if (value >= 9.995) text = sprintf("%.1f", value)
    else if (value >= 0.0995 || value == 0) text = sprintf("%.2f", value)
    else text = sprintf("%.1g", value)
    digits = ""
    if (value >= 1000) {
        while (length(text) > 3) {
            digits = "," substr(text, length(text) - 2) digits
            text = substr(text, 1, length(text) - 3)
        }
    }
    return text digits
}

function range(low, high) { return low == high ? "" : " (" number(low) " – " number(high) ")" }

function finish(    met) {
    if (title == "") return
    met = verdict == "met" ? "✓" : verdict == "missed" ? "✗" : ""
    if (FORM != "plot")
        printf "| %s | %s | %s | %s | %s | %s |\n", title, own, peers, ratio, goal, met
    title = ""
}

$1 == "row" {
    finish()
    title = $2; unit = $3; goal = $4; verdict = $5
    own = ""; peers = ""; ratio = ""
    if ($6 != "") {
        ratio = number($7) range($8, $9)
        if (FORM == "plot")
            printf "%d\t%s\t%g\t%g\t%g\t%d\n", ++place, title, 1 / $7, 1 / $9, 1 / $8, verdict != "missed"
    }
}
$1 == "cost" && $3 == "kq" && own == "" { own = number($4) range($5, $6) " " unit; next }
$1 == "cost" {
    # What is neither the library nor a peer stands in brackets; so do the library's variations.
    cost = $2 " " number($4)
    peers = peers (peers == "" ? "" : "; ") ($3 == "peer" ? cost : "[" cost "]")
}
END { finish() }
