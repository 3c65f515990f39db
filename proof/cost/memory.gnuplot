# Draws the peak memory of the command beside the floor's, for an event:
#
#   gnuplot -e "points='FILE'; output='FILE.svg'; sentence='...'" proof/cost/memory.gnuplot
#
# The points are those of command.gnuplot.

# What a file may add to what a run with one file takes.
bytes = 150
stats points index "event" every ::0::0 using 7 name "command" nooutput
limit(files) = command_min + bytes * files / 1e6

set terminal svg noenhanced size 900,600 font "sans,12" background "white"
set output output
set title "Peak memory of an event: the command and the floor under its cost" font ",15"
set logscale xy
set xrange [0.8:130000]
set yrange [1:50]
set xtics ("1" 1, "10" 10, "100" 100, "1,000" 1000, "10,000" 10000, "100,000" 100000)
set ytics (1, 2, 5, 10, 20, 50)
set xlabel "files in the list"
set ylabel "megabytes"
set grid
set rmargin at screen 0.97
set bmargin at screen 0.16
set key top left Left reverse
set label 1 sentence at screen 0.5,0.03 center
plot points index "event" using 1:8 with lines linewidth 7 linecolor rgb "#b5cdea" title "floor", \
     points index "event" using 1:7 with linespoints linewidth 2 pointtype 9 pointsize 0.7 \
       linecolor rgb "#1f5fa8" title "command", \
     points index "event" using 1:(limit($1)) with lines dashtype 2 linewidth 2 \
       linecolor rgb "#1f5fa8" title "limit: 150 bytes a file"
