# Reference tables for the one-way analysis of variance, the multiple
# comparisons and the studentized range, from R (stats: aov, anova,
# TukeyHSD, pairwise.t.test, ptukey, qtukey, qt, qf).
#
#   Rscript tools/gen_anova_oneway_refs.R
#
# writes tests/anova/data/range_*.csv and tests/anova/data/oneway_*.csv.
# Numbers are printed with 17 significant digits so that they read back as
# the same doubles.

out_dir <- file.path("tests", "anova", "data")
dir.create(out_dir, showWarnings = FALSE, recursive = TRUE)
fmt <- function(x) ifelse(is.infinite(x), ifelse(x > 0, "inf", "-inf"), sprintf("%.17g", x))
write_table <- function(frame, name) {
  lines <- c(paste(names(frame), collapse = ","),
             apply(frame, 1, function(row) paste(row, collapse = ",")))
  writeLines(lines, file.path(out_dir, name))
}
as_text <- function(frame) {
  for (column in names(frame)) if (is.numeric(frame[[column]])) frame[[column]] <- fmt(frame[[column]])
  frame
}

# ---- Studentized range --------------------------------------------------
# ptukey and qtukey take df >= 2, and at small df ptukey is off by up to
# 5e-5 (for two means the law is exact: 2 pt(q / sqrt(2), df) - 1).  The
# reference is the defining integral over the scale s = sqrt(chi-squared(df)
# / df) of the known-scale range distribution ptukey(q s, r, Inf), by
# integrate; ptukey and qtukey are kept beside it to measure against.
scale_integral <- function(q, r, df) {
  # In t = log s the density is exp(c + df t - df e^(2t) / 2), with its mode at 0.
  constant <- log(2) + (df / 2) * log(df / 2) - lgamma(df / 2)
  f <- function(t) exp(constant + df * t - df * exp(2 * t) / 2) * ptukey(q * exp(t), r, Inf)
  a <- 6 / sqrt(2 * df)
  cuts <- c(-Inf, -4 * a, -a, 0, a, 4 * a, Inf)
  sum(sapply(seq_len(length(cuts) - 1), function(i)
    integrate(f, cuts[i], cuts[i + 1], rel.tol = 1e-11, abs.tol = 1e-16, subdivisions = 1000L, stop.on.error = FALSE)$value))
}
exact_quantile <- function(p, r, df) {
  f <- if (is.finite(df)) function(q) scale_integral(q, r, df) - p else function(q) ptukey(q, r, Inf) - p
  start <- if (df >= 2) qtukey(p, r, df) else qtukey(p, r, 2) * 3
  uniroot(f, c(start / 2, start * 2), tol = 1e-14 * start, maxiter = 200, extendInt = "upX")$root
}

range_r <- c(2, 3, 5, 10, 20, 50, 100)
range_df <- c(1, 2, 3, 5, 10, 20, 60, 120, 121, 500, 1000, Inf)
range_p <- c(0.90, 0.95, 0.99)

cdf <- list()
quantiles <- list()
for (r in range_r) for (df in range_df) for (p in range_p) {
  q <- exact_quantile(p, r, df)
  q_known <- qtukey(p, r, Inf)
  integral <- if (is.finite(df)) scale_integral(q, r, df) else ptukey(q, r, Inf)
  cdf[[length(cdf) + 1]] <- data.frame(r = r, df = df, q = q, integral = integral,
                                       ptukey = if (df >= 2) ptukey(q, r, df) else NaN,
                                       known_scale = ptukey(q, r, Inf),
                                       two_means = if (r == 2) 2 * pt(q / sqrt(2), df) - 1 else NaN)
  quantiles[[length(quantiles) + 1]] <- data.frame(p = p, r = r, df = df, exact = q,
                                                   qtukey = if (df >= 2) qtukey(p, r, df) else NaN,
                                                   known_scale = q_known)
}
write_table(as_text(do.call(rbind, cdf)), "range_cdf.csv")
write_table(as_text(do.call(rbind, quantiles)), "range_quantile.csv")
