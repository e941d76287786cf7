"""Known-scale studentized range W(w; r) to 20 digits with mpmath, as a sharp
reference beside R's ptukey(w, r, Inf), which is good to about 1e-8 for many
means.  W(w; r) = r * integral of phi(z) (Phi(z + w) - Phi(z))^(r - 1) dz.

    python3 tools/gen_anova_range_refs.py

writes tests/anova/data/range_known_scale.csv; the points are the 0.90, 0.95
and 0.99 quantiles of tests/anova/data/range_quantile.csv at df = inf."""
import csv
import mpmath as mp

mp.mp.dps = 25
rows = []
with open("tests/anova/data/range_quantile.csv") as f:
    for row in csv.DictReader(f):
        if row["df"] == "inf":
            rows.append((int(float(row["r"])), row["exact"]))
with open("tests/anova/data/range_known_scale.csv", "w") as out:
    out.write("r,w,probability\n")
    for r, w_text in rows:
        w = mp.mpf(w_text)
        g = lambda z: r * mp.npdf(z) * (mp.ncdf(z + w) - mp.ncdf(z)) ** (r - 1)
        value = mp.quad(g, [-14, -6, -4, -3, -2, -1, 0, 1.5, 3, 10], maxdegree=10)
        out.write("%d,%s,%s\n" % (r, w_text, mp.nstr(value, 20)))
