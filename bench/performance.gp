# ./dev bench --report: a dot per case and a row per operation; the limit of memory at the left, the
# best other library at the right. Wants `data` and `picture`.
rows = int(system(sprintf("cut -f 1 '%s' | sort -n | tail -n 1", data))) + 1
set terminal svg size 1200, 80 + 15 * rows dynamic background "white" font "sans-serif,11"
set output picture
set datafile separator "\t"
set multiplot layout 1, 2 margins 0.16, 0.98, 1 - 55.0 / (80 + 15 * rows), 35.0 / (80 + 15 * rows) spacing 0.03
set yrange [-0.7 : rows - 0.3] reverse
set logscale x
set grid xtics ytics linecolor "#dddddd"
set tics nomirror scale 0.3
unset key
in_cache = "#2b6cb0"
in_memory = "#c05621"

set title "speed, as a share of a plain loop over the same bytes (blue: 512 x 512, red: 4096 x 4096)" offset 0, 0.5
set arrow 1 from 1, graph 0 to 1, graph 1 nohead linecolor "#555555"
plot data using ($3 <= 512 ? $4 : NaN):1:ytic(2) with points pt 7 ps 0.4 lc rgb in_cache, \
     "" using ($3 > 512 ? $4 : NaN):1 with points pt 7 ps 0.4 lc rgb in_memory

set title "time of the best other library, divided by ours" offset 0, 0.5
set format y ""
plot data using ($3 <= 512 && $5 > 0 ? $5 : NaN):1 with points pt 7 ps 0.4 lc rgb in_cache, \
     "" using ($3 > 512 && $5 > 0 ? $5 : NaN):1 with points pt 7 ps 0.4 lc rgb in_memory
unset multiplot
