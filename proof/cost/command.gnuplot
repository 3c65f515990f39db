# Draws the command beside the floor: the CPU time of both, the ratio of the two, and their peak memory:
#
#   gnuplot -e "points='FILE'; output='FILE.svg'; sentence='...'" proof/cost/command.gnuplot
#
# A block of the points is a kind of run, named in a comment. Its columns: files, CPU time in
# milliseconds of the command and of the floor, their ratio, the two ends of its interval, peak memory
# in megabytes of the command and of the floor.

array Kind[3] = ["incident", "event, traced", "event"]
array Dark[3] = ["#b34700", "#2c7a1f", "#1f5fa8"]
array Pale[3] = ["#f0bfa0", "#b9d8b0", "#b5cdea"]

# What a file may add to what a run with one file takes.
bytes = 150
stats points index "event" every ::0::0 using 7 name "command" nooutput
limit(files) = command_min + bytes * files / 1e6

set terminal svg noenhanced size 900,1300 font "sans,12" background "white"
set output output
set multiplot layout 3,1 margins 0.1,0.97,0.07,0.95 spacing 0.06
set label 1 sentence at screen 0.5,0.015 center

set logscale xy
set xrange [0.8:130000]
set xtics ("1" 1, "10" 10, "100" 100, "1,000" 1000, "10,000" 10000, "100,000" 100000)
set grid
set key top left Left reverse

set title "CPU time of a run in milliseconds: the command and the floor under its cost"
plot for [k = 1:3] points index Kind[k] using 1:3 with lines linewidth 7 linecolor rgb Pale[k] \
       title Kind[k].", floor", \
     for [k = 1:3] points index Kind[k] using 1:2 with linespoints linewidth 2 pointtype 7 \
       pointsize 0.6 linecolor rgb Dark[k] title Kind[k]
unset label 1

set title "The command's CPU time, the floor's being 1"
unset logscale y
set yrange [0.9:1.35]
set key top right
plot 1 with lines linecolor rgb "black" notitle, \
     [1000:130000] 1.15 with lines dashtype 2 linewidth 2 linecolor rgb Dark[3] \
       title "limit of event", \
     [1000:130000] 1.03 with lines dashtype 2 linewidth 2 linecolor rgb "#666666" \
       title "limit of incident and of event, traced", \
     for [k = 1:3] points index Kind[k] using 1:4:5:6 with yerrorlines linewidth 2 \
       pointtype 7 pointsize 0.6 linecolor rgb Dark[k] notitle

set title "Peak memory of an event in megabytes, over the files in the list"
set logscale y
set yrange [1:50]
set key top left
plot points index Kind[3] using 1:8 with lines linewidth 7 linecolor rgb Pale[3] title "floor", \
     points index Kind[3] using 1:7 with linespoints linewidth 2 pointtype 7 pointsize 0.6 \
       linecolor rgb Dark[3] title "command", \
     points index Kind[3] using 1:(limit($1)) with lines dashtype 2 linewidth 2 \
       linecolor rgb Dark[3] title "limit: 150 bytes a file"
unset multiplot
