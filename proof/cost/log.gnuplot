# Draws what reading a log costs: the processor time of tanexics-log beside that of programs that do a small part of
# its work, and its peak memory:
#
#   gnuplot -e "points='FILE'; output='FILE.svg'; sentence='...'" proof/cost/log.gnuplot
#
# A block of the points is a program, whose name is its first line. Its columns: megabytes, processor time in seconds,
# peak memory in megabytes, of tanexics-log alone.

set terminal svg noenhanced size 900,900 font "sans,12" background "white"
set output output
set multiplot layout 2,1 margins 0.1,0.97,0.09,0.95 spacing 0.1
set label 1 sentence at screen 0.5,0.02 center

set logscale xy
set xrange [0.8:1300]
set xtics ("1 MB" 1, "10 MB" 10, "100 MB" 100, "1 GB" 1000)
set grid
set key top left Left reverse

set title "Processor time in seconds"
plot for [k = 0:3] points index k using 1:2 with linespoints linewidth 2 pointtype 7 pointsize 0.6 \
       title columnheader(1), \
     [500:1300] 4 with lines dashtype 2 linewidth 2 linecolor rgb "black" title "limit of tanexics-log"
unset label 1

set title "Peak memory in megabytes"
set yrange [1:100]
plot points index 0 using 1:3 with linespoints linewidth 2 pointtype 7 pointsize 0.6 \
       title columnheader(1), \
     [500:1300] 64 with lines dashtype 2 linewidth 2 linecolor rgb "black" title "limit of tanexics-log"
unset multiplot
