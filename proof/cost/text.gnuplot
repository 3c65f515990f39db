# Draws how the text functions grow, a small picture for each:
#
#   gnuplot -e "points='FILE'; output='FILE.svg'; sentence='...'" proof/cost/text.gnuplot
#
# A block of the points is a function: a line with its name in quotes, then lines of bytes of input
# and nanoseconds a byte.

stats points using 2 nooutput
columns = 4
rows = (STATS_blocks + columns - 1) / columns

set terminal svg noenhanced size 1000,(130 + 150 * rows) font "sans,11" background "white"
set output output
set multiplot layout rows,columns title "The text functions: nanoseconds a byte over bytes of input" \
  font ",15" margins 0.06,0.985,0.09,0.945 spacing 0.04,0.03
set label 1 sentence at screen 0.5,0.018 center

set logscale xy
set xrange [500:20000000]
set yrange [0.005:200]
set xtics ("1 KB" 1000, "" 10000, "100 KB" 100000, "" 1000000, "10 MB" 10000000)
set ytics ("0.01" 0.01, "" 0.1, "1" 1, "" 10, "100" 100)
set grid
set key top left Left reverse samplen 0

do for [panel = 0:STATS_blocks - 1] {
  plot points index panel using 1:2 with linespoints linewidth 2 pointtype 7 pointsize 0.5 \
         linecolor rgb "#1f5fa8" title columnheader(1)
  unset label 1
}
unset multiplot
