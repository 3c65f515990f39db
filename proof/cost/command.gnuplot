# Draws the CPU time of the command beside the floor's, and the ratio of the two below:
#
#   gnuplot -e "points='FILE'; output='FILE.svg'; sentence='...'" proof/cost/command.gnuplot
#
# A block of the points is a kind of run, named in a comment. Its columns: files, CPU time in
# milliseconds of the command and of the floor, their ratio, the two ends of its interval, peak memory
# in megabytes of the command and of the floor.

set terminal svg noenhanced size 900,900 font "sans,12" background "white"
set output output
set multiplot

set logscale x
set xrange [0.8:130000]
set xtics ("" 1, "" 10, "" 100, "" 1000, "" 10000, "" 100000)
set grid
set lmargin at screen 0.1
set rmargin at screen 0.97

set title "CPU time of a run: the command and the floor under its cost" font ",15"
set tmargin at screen 0.93
set bmargin at screen 0.47
set logscale y
set yrange [0.5:10000]
set ytics ("1" 1, "10" 10, "100" 100, "1,000" 1000, "10,000" 10000)
set ylabel "milliseconds"
set key top left Left reverse
plot points index "incident" using 1:3 with lines linewidth 7 linecolor rgb "#f0bfa0" \
       title "incident, floor", \
     points index "event, traced" using 1:3 with lines linewidth 7 linecolor rgb "#b9d8b0" \
       title "event, traced, floor", \
     points index "event" using 1:3 with lines linewidth 7 linecolor rgb "#b5cdea" \
       title "event, floor", \
     points index "incident" using 1:2 with linespoints linewidth 2 pointtype 7 pointsize 0.6 \
       linecolor rgb "#b34700" title "incident", \
     points index "event, traced" using 1:2 with linespoints linewidth 2 pointtype 5 pointsize 0.6 \
       linecolor rgb "#2c7a1f" title "event, traced", \
     points index "event" using 1:2 with linespoints linewidth 2 pointtype 9 pointsize 0.7 \
       linecolor rgb "#1f5fa8" title "event"

set title "The command's CPU time, the floor's being 1" font ",13"
set tmargin at screen 0.42
set bmargin at screen 0.12
unset logscale y
set yrange [0.9:1.35]
set ytics 0.1
set ylabel "ratio"
set xtics ("1" 1, "10" 10, "100" 100, "1,000" 1000, "10,000" 10000, "100,000" 100000)
set xlabel "files in the list"
set key top right Left reverse
set label 1 sentence at screen 0.5,0.02 center
plot 1 with lines linewidth 1 linecolor rgb "black" notitle, \
     [1000:130000] 1.15 with lines dashtype 2 linewidth 2 linecolor rgb "#1f5fa8" \
       title "limit of event", \
     [1000:130000] 1.03 with lines dashtype 2 linewidth 2 linecolor rgb "#666666" \
       title "limit of incident and of event, traced", \
     points index "incident" using 1:4:5:6 with yerrorlines linewidth 2 pointtype 7 pointsize 0.6 \
       linecolor rgb "#b34700" notitle, \
     points index "event, traced" using 1:4:5:6 with yerrorlines linewidth 2 pointtype 5 \
       pointsize 0.6 linecolor rgb "#2c7a1f" notitle, \
     points index "event" using 1:4:5:6 with yerrorlines linewidth 2 pointtype 9 pointsize 0.7 \
       linecolor rgb "#1f5fa8" notitle
unset multiplot
