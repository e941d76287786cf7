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

# ---- One-way analysis of variance ----------------------------------------
# Cases: responses group after group, NaN for a missing value.
set.seed(20520)
cases <- list(
  diets = list(n = c(5, 5, 4, 5),
               y = c(90, 76, 90, 64, 86, 51, 72, 90, 95, 78, 107, 95, NaN, 97, 85, 98, 74, 56, 111)),
  balanced = list(n = rep(8, 5), y = round(rnorm(40, rep(c(10, 11, 10.5, 13, 9), each = 8), 1.5), 2)),
  unbalanced = list(n = c(3, 7, 12, 5, 9, 4), y = round(rnorm(40, rep(c(5, 6, 5.5, 7, 6.2, 4), c(3, 7, 12, 5, 9, 4)), 1), 3)),
  empty_group = list(n = c(6, 4, 5, 3), y = c(round(rnorm(6, 20, 2), 1), rep(NaN, 4), round(rnorm(5, 23, 2), 1),
                                              round(rnorm(3, 18, 2), 1))),
  large_df = list(n = c(60, 70, 50), y = round(rnorm(180, rep(c(100, 101, 99), c(60, 70, 50)), 3), 2)),
  two_groups = list(n = c(4, 6), y = c(3.1, 2.9, 3.4, 3.0, 3.8, 3.6, 4.0, 3.3, 3.9, 3.7)))

methods <- c("tukey", "dunn_sidak", "bonferroni", "scheffe", "one_at_a_time")
data_rows <- list(); table_rows <- list(); group_rows <- list(); interval_rows <- list()
for (name in names(cases)) {
  case <- cases[[name]]
  group <- rep(seq_along(case$n), case$n)
  data_rows[[name]] <- data.frame(case = name, group = group, y = case$y)
  y <- ifelse(is.nan(case$y), NA, case$y)
  kept <- !is.na(y)
  g <- factor(group[kept])
  fit <- aov(y[kept] ~ g)
  a <- anova(fit)
  dfr <- a$Df[1]; dfe <- a$Df[2]; ssr <- a$`Sum Sq`[1]; sse <- a$`Sum Sq`[2]
  mse <- sse / dfe; sst <- ssr + sse; ybar <- mean(y[kept])
  table_rows[[name]] <- data.frame(case = name, place = 0:14,
    value = c(dfr, dfe, dfr + dfe, ssr, sse, sst, ssr / dfr, mse, a$`F value`[1], a$`Pr(>F)`[1],
              100 * ssr / sst, max(0, 100 * (1 - mse / (sst / (dfr + dfe)))), sqrt(mse), ybar, 100 * sqrt(mse) / ybar))
  counts <- sapply(seq_along(case$n), function(i) sum(kept & group == i))
  means <- sapply(seq_along(case$n), function(i) if (counts[i] > 0) mean(y[kept & group == i]) else NaN)
  sds <- sapply(seq_along(case$n), function(i) if (counts[i] > 1) sd(y[kept & group == i]) else NaN)
  group_rows[[name]] <- data.frame(case = name, group = seq_along(case$n), count = counts, mean = means, sd = sds)

  # The pairs of the groups left, in ascending order of their means.
  left <- which(counts > 0)
  left <- left[order(means[left], left)]
  k <- length(left); m <- k * (k - 1) / 2
  tukey_hsd <- TukeyHSD(fit, conf.level = 0.95)$g
  bonferroni_p <- pairwise.t.test(y[kept], g, p.adjust.method = "bonferroni", pool.sd = TRUE)$p.value
  for (confidence in c(90, 95, 99)) {
    c <- confidence / 100
    quantile <- c(tukey = exact_quantile(c, k, if (dfe > 120) Inf else dfe),
                  dunn_sidak = qt(0.5 * c^(1 / m) + 0.5, dfe), bonferroni = qt(1 - (1 - c) / (2 * m), dfe),
                  scheffe = (k - 1) * qf(c, k - 1, dfe), one_at_a_time = qt(1 - (1 - c) / 2, dfe))
    for (method in methods) {
      row <- 0
      for (i in seq_len(k - 1)) for (j in (i + 1):k) {
        a_i <- left[i]; b_j <- left[j]
        variance <- mse / counts[a_i] + mse / counts[b_j]
        half <- switch(method, tukey = quantile[["tukey"]] * sqrt(variance / 2),
                       scheffe = sqrt(quantile[["scheffe"]] * variance), quantile[[method]] * sqrt(variance))
        difference <- means[a_i] - means[b_j]
        # R's own intervals beside: TukeyHSD (qtukey) and the Bonferroni p-value.
        label <- paste(max(a_i, b_j), min(a_i, b_j), sep = "-")
        sign <- if (a_i > b_j) 1 else -1
        hsd <- if (method == "tukey" && confidence == 95) tukey_hsd[label, ] else c(NaN, NaN, NaN, NaN)
        p_bonf <- if (method == "bonferroni") bonferroni_p[as.character(max(a_i, b_j)), as.character(min(a_i, b_j))] else NaN
        interval_rows[[length(interval_rows) + 1]] <- data.frame(
          case = name, method = method, confidence = confidence, row = row, first = a_i, second = b_j,
          difference = difference, lower = difference - half, upper = difference + half,
          hsd_lower = if (sign > 0) hsd[2] else -hsd[3], hsd_upper = if (sign > 0) hsd[3] else -hsd[2],
          bonferroni_p = p_bonf)
        row <- row + 1
      }
    }
  }
}
write_table(as_text(do.call(rbind, data_rows)), "oneway_data.csv")
write_table(as_text(do.call(rbind, table_rows)), "oneway_tables.csv")
write_table(as_text(do.call(rbind, group_rows)), "oneway_groups.csv")
write_table(as_text(do.call(rbind, interval_rows)), "oneway_intervals.csv")

# ---- Multiple-range tests --------------------------------------------------
# Step 3 of the range tests written out here, with critical values from the
# exact range quantiles (known scale above 120 degrees of freedom).
range_sets <- function(means, critical) {
  k <- length(means); sorted <- sort(means); result <- rep(0, k - 1)
  for (r in 2:k) for (i in 1:(k - r + 1)) {
    if (sorted[i + r - 1] - sorted[i] <= critical[r]) {
      result[i] <- r
      if (r > 2) result[i + 1] <- 0
    }
  }
  result
}
range_cases <- list(
  list(name = "six", means = c(49.6, 71.2, 67.6, 61.5, 71.3, 58.1), df = 24, se = 2.2),
  list(name = "ten", means = c(12.1, 14.0, 13.2, 17.9, 12.5, 15.8, 16.1, 11.0, 13.9, 19.4), df = 45, se = 0.9),
  list(name = "two_same", means = c(5, 5), df = 10, se = 1),
  list(name = "two_apart", means = c(5, 15), df = 10, se = 1),
  list(name = "ties", means = c(3, 3, 7, 7, 7.2, 12), df = 30, se = 0.8),
  list(name = "large_df", means = c(20.1, 21.5, 23.4, 20.9, 25.0, 22.2, 24.1), df = 400, se = 0.7))
set_rows <- list()
for (case in range_cases) for (alpha in c(0.01, 0.05, 0.10)) for (method in c("tukey", "step_down", "duncan", "ryan_welsch", "bonferroni")) {
  k <- length(case$means); p <- 1 - alpha
  scale_df <- if (case$df > 120) Inf else case$df
  level <- function(r) switch(method, duncan = p^(r - 1), ryan_welsch = if (r < k - 1) p^(r / k) else p, p)
  critical <- sapply(1:k, function(r) {
    if (r < 2) return(NaN)
    switch(method, tukey = exact_quantile(p, k, scale_df),
           bonferroni = qt(1 - alpha / (k * (k - 1)), case$df) * sqrt(2),
           exact_quantile(level(r), r, scale_df))
  }) * case$se
  # How near the nearest range comes to its critical value, relative.
  sorted <- sort(case$means); margin <- Inf
  for (r in 2:k) for (i in 1:(k - r + 1))
    margin <- min(margin, abs(sorted[i + r - 1] - sorted[i] - critical[r]) / critical[r])
  set_rows[[length(set_rows) + 1]] <- data.frame(
    case = case$name, method = method, alpha = alpha, df = case$df, std_error = case$se,
    means = paste(fmt(case$means), collapse = " "), result = paste(range_sets(case$means, critical), collapse = " "),
    margin = margin)
}
write_table(as_text(do.call(rbind, set_rows)), "comparisons_sets.csv")
