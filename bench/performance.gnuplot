# Bars of how many times as fast as the strongest peer the library is. Variables: data, the table of
# performance_table.awk with FORM=plot; rows, how many it has; image, the file to write.
set terminal pngcairo noenhanced size 1100, 90 + 24 * rows font "Sans,10" background "white"
set output image
set datafile separator "\t"
set title "How many times as fast as the strongest peer (median and quartiles)"
set logscale x
set xrange [0.1:*]
set xtics nomirror
set format x "%g"
set grid xtics
set yrange [rows + 0.6:0.4]
set ytics nomirror scale 0
set style fill solid 0.9 noborder
set key bottom right
set arrow 1 from 1, graph 0 to 1, graph 1 nohead linecolor rgb "#404040" linewidth 1.5 front
height = 0.34
plot data using (1):1:(1):3:($1 - height):($1 + height):ytic(2) \
        with boxxyerror linecolor rgb "#2a78b8" title "kq", \
     '' using ($6 == 0 ? 1 : NaN):1:(1):3:($1 - height):($1 + height) \
        with boxxyerror linecolor rgb "#d98a1f" title "goal missed", \
     '' using 3:1:4:5 with xerrorbars pointtype 0 linecolor rgb "#202020" notitle
