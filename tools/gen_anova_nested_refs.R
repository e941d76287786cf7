# Reference tables for the factorial, nested and balanced analyses of
# variance (tests/anova/nested_test.cpp): sums of squares and tests from R's
# aov/lm, expected mean squares from their definition E[y'Qy] = tr(Q V)
# with the projections of the sources, variance components solved from
# them, and Satterthwaite's limits.  Run from the source tree:
#   Rscript tools/gen_anova_nested_refs.R
set.seed(20261125)
out <- file("tests/anova/data/nested_refs.txt", "w")
put <- function(key, v) writeLines(paste(key, paste(formatC(v, digits = 17, format = "g"), collapse = " ")), out)
case <- function(name) writeLines(paste("name", name), out)

# Projection onto the columns of x.
proj <- function(x) { q <- qr(x); Q <- qr.Q(q)[, seq_len(q$rank), drop = FALSE]; Q %*% t(Q) }
# Source projections from a sequence of nested model matrices (cumulative).
source_projections <- function(mats) {
  n <- nrow(mats[[1]]); prev <- matrix(1 / n, n, n); res <- list()
  for (m in mats) { p <- proj(m); res[[length(res) + 1]] <- p - prev; prev <- p }
  res[[length(res) + 1]] <- diag(n) - prev
  res
}
# Expected mean squares: coefficient of term j in source i = tr(Q_i V_j) / df_i.
ems_matrix <- function(Q, V) {
  k <- length(Q); E <- matrix(0, k, k)
  for (i in 1:k) { df <- round(sum(diag(Q[[i]]))); for (j in 1:k) if (!is.null(V[[j]])) E[i, j] <- sum(Q[[i]] * V[[j]]) / df }
  E
}
# Satterthwaite: combination w of mean squares, its value and df.
satt <- function(w, ms, df) { keep <- abs(w) > 1e-12; v <- sum(w[keep] * ms[keep]); c(v, v^2 / sum((w[keep] * ms[keep])^2 / df[keep])) }
# Component rows as the library lays them out (see ORVLS_VARIANCE_COMPONENTS).
component_rows <- function(E, ss, df, random, conf) {
  k <- length(ss); ms <- ss / df; A <- solve(E); est <- as.vector(A %*% ms)
  total <- sum(pmax(est[random], 0)); rows <- matrix(NaN, k, 10)
  for (i in 1:k) {
    rows[i, 1:3] <- c(df[i], ss[i], ms[i])
    if (i < k) {
      target <- E[i, ]; target[i] <- 0
      same <- which(apply(E, 1, function(r) isTRUE(all.equal(r, target))))
      w <- rep(0, k); if (length(same) > 0) w[same[1]] <- 1 else w <- as.vector(target %*% A)
      d <- satt(w, ms, df)
      if (d[1] > 0) rows[i, 4:6] <- c(ms[i] / d[1], pf(ms[i] / d[1], df[i], d[2], lower.tail = FALSE), d[2])
    }
    if (random[i]) {
      s <- satt(A[i, ], ms, df); rows[i, 7] <- s[1]; rows[i, 8] <- 100 * max(s[1], 0) / total
      if (s[1] > 0 && s[2] >= 0.5) rows[i, 9:10] <- s[2] * s[1] / qchisq(c((1 + conf) / 2, (1 - conf) / 2), s[2])
    }
  }
  rows
}
overall <- function(ss, df) {
  k <- length(ss); m <- sum(ss[-k]); dm <- sum(df[-k]); f <- (m / dm) / (ss[k] / df[k])
  pf(f, dm, df[k], lower.tail = FALSE)
}
indicator <- function(f) model.matrix(~ f - 1)

# ---- factorial layouts ---------------------------------------------------
# tapply over several factors gives an array with the first factor fastest;
# the library's cells have the last fastest.
cell_means <- function(d, fs) {
  a <- tapply(d$y, d[, fs, drop = FALSE], mean)
  if (length(fs) == 1) as.vector(a) else as.vector(aperm(a, length(dim(a)):1))
}
factorial_case <- function(name, levels, y, order, pool) {

  k <- length(levels); nf <- if (pool) k else k - 1
  g <- expand.grid(rev(lapply(levels, seq_len)))[, k:1, drop = FALSE]
  names(g) <- paste0("F", 1:k); for (j in 1:k) g[[j]] <- factor(g[[j]])
  d <- cbind(g, y = y)
  facs <- paste0("F", 1:nf)
  full <- aov(as.formula(paste("y ~", paste(facs, collapse = "*"))), data = d)
  tab <- summary(if (pool) aov(as.formula(paste("y ~ (", paste(facs, collapse = "+"), ")", if (order > 1) paste("^", order) else "")), data = d) else full)[[1]]
  labels <- trimws(rownames(tab)); eff <- labels[labels != "Residuals"]
  eff <- eff[sapply(strsplit(eff, ":"), length) <= order]
  # The library's order: by size, then lexicographic in the factors.
  key <- sapply(strsplit(eff, ":"), function(p) sum(as.integer(sub("F", "", p)) * 100^(rev(seq_along(p)))) + 1e9 * length(p))
  eff <- eff[order(key)]
  rows <- t(sapply(eff, function(e) { r <- tab[trimws(rownames(tab)) == e, ]; c(r$Df, r$`Sum Sq`, r$`Mean Sq`, r$`F value`, r$`Pr(>F)`) }))
  err <- tab[trimws(rownames(tab)) == "Residuals", ]
  dm <- sum(rows[, 1]); sm <- sum(rows[, 2]); fo <- (sm / dm) / (err$`Mean Sq`)
  means <- mean(y)
  for (e in eff) means <- c(means, cell_means(d, strsplit(e, ":")[[1]]))
  case(name); put("levels", levels); put("order", order); put("pool", as.integer(pool)); put("y", y)
  put("effects", as.vector(t(rows))); put("error", c(err$Df, err$`Sum Sq`))
  put("overall", c(fo, pf(fo, dm, err$Df, lower.tail = FALSE))); put("means", means)
}
y1 <- round(rnorm(2 * 3 * 4 * 2, 50, 5), 2)
for (o in 1:3) factorial_case(paste0("pure_2x3x4_r2_order", o), c(2, 3, 4, 2), y1, o, FALSE)
for (o in 2:3) factorial_case(paste0("pool_2x3x4x2_order", o), c(2, 3, 4, 2), y1, o, TRUE)
y2 <- round(rnorm(3 * 4 * 3, 10, 2), 3)
for (o in 1:2) factorial_case(paste0("pure_3x4_r3_order", o), c(3, 4, 3), y2, o, FALSE)
factorial_case("pool_3x4x3_order1", c(3, 4, 3), y2, 1, TRUE)

# A missing response under pure error: the error equals the residual of
# the cell-means fit to the responses present, one df less.
ym <- y2; ym[7] <- NaN
g <- expand.grid(R = 1:3, B = 1:4, A = 1:3)[, 3:1]; g$A <- factor(g$A); g$B <- factor(g$B)
fit <- lm(ym ~ A * B, data = cbind(g, ym = ym))
case("missing_3x4_r3"); put("levels", c(3, 4, 3)); put("y", ym); put("error", c(fit$df.residual, sum(residuals(fit)^2)))

# ---- nested layouts -----------------------------------------------------
# counts: list per depth of the numbers of groups below each group.
nested_case <- function(name, equal, levels_arg, counts, y, conf = 0.95) {
  k <- length(counts); N <- length(y)
  # group labels of every response at each depth
  lab <- list(); cur <- rep(1, 1)
  for (d in 1:k) {
    cur <- rep(seq_along(counts[[d]]), counts[[d]])          # parent of each group at depth d
    lab[[d]] <- cur
  }
  # labels of responses at depth d: expand down
  resp <- vector("list", k - 1)
  for (d in 1:(k - 1)) { g <- seq_len(length(counts[[d + 1]])); for (e in (d + 1):k) g <- g[rep(seq_along(counts[[e]]), counts[[e]])]
    resp[[d]] <- factor(g) }
  mats <- lapply(1:(k - 1), function(d) indicator(resp[[d]]))
  Q <- source_projections(mats)
  V <- c(lapply(mats, function(z) z %*% t(z)), list(diag(N)))
  E <- ems_matrix(Q, V)
  ss <- sapply(Q, function(q) as.numeric(t(y) %*% q %*% y)); df <- sapply(Q, function(q) round(sum(diag(q))))
  # sums of squares from aov as well
  d <- data.frame(y = y); for (j in 1:(k - 1)) d[[paste0("G", j)]] <- resp[[j]]
  form <- paste("y ~", paste(paste0("G", 1:(k - 1)), collapse = " + "))
  a <- summary(aov(as.formula(form), data = d))[[1]]
  stopifnot(max(abs(a$`Sum Sq` - ss)) < 1e-8 * sum(ss))
  rows <- component_rows(E, a$`Sum Sq`, a$Df, rep(TRUE, k), conf)
  means <- mean(y); for (j in 1:(k - 1)) means <- c(means, as.vector(tapply(y, resp[[j]], mean)))
  case(name); put("equal", equal); put("levels", levels_arg); put("y", y); put("confidence", 100 * conf)
  put("ems", as.vector(t(E))); put("components", as.vector(t(rows))); put("overall", overall(a$`Sum Sq`, a$Df))
  put("means", means)
}
# Balanced: 3 batches x 2 samples x 3 determinations.
yb <- round(rnorm(18, 100, 3), 2) + rep(rnorm(3, 0, 4), each = 6) + rep(rnorm(6, 0, 2), each = 3)
nested_case("balanced_3_2_3", 1, c(3, 2, 3), list(3, rep(2, 3), rep(3, 6)), yb)
# Unbalanced three stages.
cnt2 <- c(2, 3, 2, 1); cnt3 <- c(2, 3, 1, 2, 4, 2, 3, 2)
yu <- round(rnorm(sum(cnt3), 20, 1), 3) + rep(rnorm(8, 0, 1.5), cnt3)
nested_case("unbalanced_4_groups", 0, c(4, cnt2, cnt3), list(4, cnt2, cnt3), yu, 0.9)
# One-way random, unequal groups.
c1 <- c(3, 5, 2, 4, 6); y1w <- round(rnorm(sum(c1), 5, 1), 2) + rep(rnorm(5, 0, 1), c1)
nested_case("oneway_unequal", 0, c(5, c1), list(5, c1), y1w, 0.99)
# Four stages, unequal.
a2 <- c(2, 3); a3 <- c(2, 1, 2, 2, 3); a4 <- c(2, 2, 3, 2, 2, 3, 2, 2, 2, 3)
y4 <- round(rnorm(sum(a4), 0, 1), 3) + rep(rnorm(10, 0, 1), a4)
nested_case("four_stages", 0, c(2, a2, a3, a4), list(2, a2, a3, a4), y4)

# ---- balanced mixed models ----------------------------------------------
# levels: factor levels (last fastest); effects: list of factor index vectors;
# random: random factor indices; model formula for aov in the same order.
# own: for each effect, its own factors (those it is not nested in).
balanced_case <- function(name, levels, y, random, effects, own, formula, restricted, conf = 0.95) {
  k <- length(levels); N <- prod(levels)
  g <- expand.grid(rev(lapply(levels, seq_len)))[, k:1, drop = FALSE]
  names(g) <- LETTERS[1:k]; for (j in 1:k) g[[j]] <- factor(g[[j]])
  d <- cbind(g, y = y)
  tab <- summary(aov(terms(as.formula(formula), keep.order = TRUE), data = d))[[1]]
  ss <- tab$`Sum Sq`; df <- tab$Df
  if (length(ss) == length(effects)) { ss <- c(ss, 0); df <- c(df, 0) }
  ne <- length(effects); n <- ne + 1
  # source projections in the model's order (balanced: orthogonal)
  Z <- lapply(effects, function(f) indicator(interaction(g[, f, drop = FALSE], drop = TRUE)))
  mats <- list(); acc <- NULL
  for (e in 1:ne) { acc <- cbind(acc, Z[[e]]); mats[[e]] <- acc }
  Q <- source_projections(mats)
  # covariance of each random effect: its cells independent, or, restricted,
  # summing to zero over its own fixed factors
  V <- vector("list", n)
  for (e in 1:ne) {
    f <- effects[[e]]
    if (any(f %in% random)) {
      K <- diag(ncol(Z[[e]]))
      if (restricted) {
        sumzero <- intersect(setdiff(f, random), own[[e]])
        for (s in sumzero) {
          # centre over factor s within the other factors of the effect
          # the cells in the order of Z's columns
          lv <- levels(interaction(g[, f, drop = FALSE], drop = TRUE))
          cells <- as.data.frame(do.call(rbind, strsplit(lv, ".", fixed = TRUE)))
          other <- setdiff(seq_along(f), which(f == s))
          stopifnot(ncol(cells) == length(f))
          key <- if (length(other)) interaction(cells[, other, drop = FALSE]) else factor(rep(1, nrow(cells)))
          C <- diag(nrow(cells)) - outer(key, key, "==") / levels[s]
          K <- C %*% K %*% t(C)
        }
      }
      V[[e]] <- Z[[e]] %*% K %*% t(Z[[e]])
    } else V[[e]] <- NULL
  }
  V[[n]] <- diag(N)
  E <- ems_matrix(Q, V)
  for (e in 1:ne) if (!any(effects[[e]] %in% random)) E[e, e] <- N / prod(levels[effects[[e]]])
  rnd <- c(sapply(effects, function(f) any(f %in% random)), TRUE)
  rows <- component_rows(E, ss, df, rnd, conf)
  case(name); put("levels", levels); put("y", y); put("random", random); put("restricted", as.integer(restricted))
  put("sizes", sapply(effects, length)); put("factors", unlist(effects)); put("confidence", 100 * conf)
  put("ems", as.vector(t(E))); put("components", as.vector(t(rows))); put("overall", overall(ss, df))
}
yA <- round(rnorm(3 * 4 * 2, 30, 2), 2)
for (r in c(TRUE, FALSE))
  balanced_case(paste0("mixed_3x4_r2_", if (r) "restricted" else "unrestricted"), c(3, 4, 2), yA, 2,
                list(1, 2, c(1, 2)), list(1, 2, c(1, 2)), "y ~ A*B", r)
yN <- round(rnorm(2 * 3 * 2 * 2, 10, 1), 3)
for (r in c(TRUE, FALSE))
  balanced_case(paste0("nested_factorial_", if (r) "restricted" else "unrestricted"), c(2, 3, 2, 2), yN, 2,
                list(1, c(1, 2), 3, c(1, 3), c(1, 2, 3)), list(1, 2, 3, c(1, 3), c(2, 3)),
                "y ~ A + A:B + C + A:C + A:B:C", r)
yR <- round(rnorm(2 * 3 * 2 * 2, 0, 1), 3)
effR <- list(1, 2, 3, c(1, 2), c(1, 3), c(2, 3), c(1, 2, 3))
balanced_case("random_2x3x2_r2", c(2, 3, 2, 2), yR, 1:3, effR, effR, "y ~ A + B + C + A:B + A:C + B:C + A:B:C", TRUE, 0.9)
# A fixed, B and C random, all crossed: restricted and unrestricted.
for (r in c(TRUE, FALSE))
  balanced_case(paste0("mixed_2x3x2_r2_", if (r) "restricted" else "unrestricted"), c(2, 3, 2, 2), yR, 2:3, effR,
                effR, "y ~ A + B + C + A:B + A:C + B:C + A:B:C", r)
close(out)
