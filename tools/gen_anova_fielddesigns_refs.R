# Reference tables of the field designs, from R's aov, lm and bartlett.test.
#
#     Rscript tools/gen_anova_fielddesigns_refs.R
#
# writes tests/anova/data/fielddesigns_tables.txt (one block per analysis)
# and tests/anova/data/fielddesigns_services.txt (Yates' estimates and
# Bartlett's test).  Missing plots are filled with the predictions of the
# design's model fitted by lm to the plots that are present (these are the
# values that make the error sum of squares least), the completed data go
# through aov, and each estimate takes one degree of freedom from the error
# and the total.  Every table is balanced once completed, so the sequential
# sums of squares of aov are the effects' own.

fmt <- function(x) ifelse(is.na(x), "nan", sprintf("%.17g", x))

tables <- file("tests/anova/data/fielddesigns_tables.txt", "w")
writeLines(c("# Field designs: analysis tables from R's aov (tools/gen_anova_fielddesigns_refs.R).",
             "# case routine name / counts (3) / levels n ... / index name n ... / random 0|1 / y n ...",
             "# rows n / row \"label\" df ss F p / end"), tables)

vec <- function(word, x) paste(word, length(x), paste(fmt(x), collapse = " "))

emit <- function(routine, name, counts, levels, indexes, random, y, rows) {
    writeLines(paste("case", routine, name), tables)
    writeLines(paste("counts", paste(counts, collapse = " ")), tables)
    writeLines(vec("levels", levels), tables)
    for (ix in names(indexes)) writeLines(vec(paste("index", ix), indexes[[ix]]), tables)
    writeLines(paste("random", random), tables)
    writeLines(vec("y", y), tables)
    writeLines(paste("rows", nrow(rows)), tables)
    for (i in seq_len(nrow(rows))) {
        f <- NA
        p <- NA
        if (!is.na(rows$test[i])) {
            den <- rows[rows$label == rows$test[i], ]
            f <- (rows$ss[i] / rows$df[i]) / (den$ss / den$df)
            p <- pf(f, rows$df[i], den$df, lower.tail = FALSE)
        }
        writeLines(sprintf("row \"%s\" %s %s %s %s", rows$label[i], fmt(rows$df[i]), fmt(rows$ss[i]), fmt(f),
                           fmt(p)), tables)
    }
    writeLines("end", tables)
}

row <- function(label, df, ss, test = NA) data.frame(label = label, df = df, ss = ss, test = test)

# Fills the missing responses of d$y with the predictions of `model`.
fill <- function(d, model) {
    miss <- is.na(d$y)
    if (any(miss)) {
        fit <- lm(model, data = d[!miss, ])
        d$y[miss] <- predict(fit, d[miss, ])
    }
    d
}

term_table <- function(model, d) {
    s <- summary(aov(terms(model, keep.order = TRUE), data = d))[[1]]
    rownames(s) <- trimws(rownames(s))
    s
}

# Factorial designs: data in lexicographic order of location, (block),
# factors, (replicate).
factorial_case <- function(routine, name, first, L, levels, missing = integer(0), random = 0, seed = 1) {
    set.seed(seed)
    nf <- length(levels)
    fac <- paste0("f", seq_len(nf))
    factors <- rev(setNames(lapply(levels, seq_len), fac))
    blocks <- routine == "rcbd"
    args <- if (blocks) c(factors, list(block = seq_len(first), loc = seq_len(L)))
            else c(list(rep = seq_len(first)), factors, list(loc = seq_len(L)))
    g <- expand.grid(args)
    n <- nrow(g)
    y <- round(20 + rnorm(n) + 0.8 * g$f1 - 0.5 * g$f2 + 0.4 * g$loc * (g$f1 == 1) +
               (if (blocks) 0.3 * g$block else 0), 2)
    yin <- y
    yin[missing] <- NA
    d <- g
    for (col in names(d)) d[[col]] <- factor(d[[col]])
    d$y <- yin
    treatments <- paste(fac, collapse = "*")
    model <- if (blocks) {
        if (L > 1) sprintf("y ~ loc + loc:block + loc*(%s)", treatments) else sprintf("y ~ block + %s", treatments)
    } else {
        if (L > 1) sprintf("y ~ loc*(%s)", treatments) else sprintf("y ~ %s", treatments)
    }
    model <- as.formula(model)
    d <- fill(d, model)
    s <- term_table(model, d)
    m <- length(missing)
    ss <- function(term) s[term, "Sum Sq"]
    dfs <- function(term) s[term, "Df"]
    effect_test <- if (random == 1 && L > 1) "Residual" else "Error"
    rows <- NULL
    if (L > 1) rows <- rbind(rows, row("Location", dfs("loc"), ss("loc"), if (blocks) "Blocks(Loc.)" else "Error"))
    if (blocks) {
        term <- if (L > 1) "loc:block" else "block"
        rows <- rbind(rows, row(if (L > 1) "Blocks(Loc.)" else "Blocks", dfs(term), ss(term), "Error"))
    }
    for (order in seq_len(nf)) {
        subsets <- combn(nf, order)
        for (j in seq_len(ncol(subsets))) {
            set <- subsets[, j]
            term <- paste(fac[set], collapse = ":")
            rows <- rbind(rows, row(paste0("[", set, "]", collapse = "x"), dfs(term), ss(term), effect_test))
        }
    }
    rows <- rbind(rows, row("Error", dfs("Residuals") - m, ss("Residuals")))
    if (L > 1) {
        inter <- grepl("^loc:", rownames(s)) & rownames(s) != "loc:block"
        rows <- rbind(rows, row("Residual", sum(s[inter, "Df"]), sum(s[inter, "Sum Sq"]), "Error"))
    }
    rows <- rbind(rows, row("Total", n - 1 - m, sum(s[, "Sum Sq"])))
    emit(routine, name, c(first, L, nf), levels, list(), random, yin, rows)
}

# A random Latin square of size t: a cyclic square with rows, columns and
# symbols permuted.
random_square <- function(t) {
    base <- outer(0:(t - 1), 0:(t - 1), function(i, j) (i + j) %% t) + 1
    symbols <- sample(t)
    matrix(symbols[base[sample(t), sample(t)]], t, t)
}

latin_case <- function(name, t, L, missing = integer(0), random = 0, seed = 1) {
    set.seed(seed)
    plots <- NULL
    for (l in seq_len(L)) {
        sq <- random_square(t)
        p <- expand.grid(col = seq_len(t), row = seq_len(t))
        p$trt <- sq[cbind(p$row, p$col)]
        p$loc <- l
        plots <- rbind(plots, p[sample(nrow(p)), ])  # plots in any order within a location
    }
    n <- nrow(plots)
    trt_effect <- rnorm(t)
    y <- round(50 + 2 * plots$loc + 0.7 * plots$row - 0.4 * plots$col + 3 * trt_effect[plots$trt] +
               0.5 * (plots$loc == 2) * trt_effect[plots$trt]^2 + rnorm(n), 2)
    yin <- y
    yin[missing] <- NA
    d <- data.frame(loc = factor(plots$loc), row = factor(plots$row), col = factor(plots$col),
                    trt = factor(plots$trt), y = yin)
    model <- if (L > 1) y ~ loc + loc:row + loc:col + trt + loc:trt else y ~ row + col + trt
    d <- fill(d, model)
    s <- term_table(model, d)
    m <- length(missing)
    ss <- function(term) s[term, "Sum Sq"]
    dfs <- function(term) s[term, "Df"]
    error <- "Error within Locations ...."
    rows <- NULL
    if (L > 1) rows <- rbind(rows, row("Locations .................", dfs("loc"), ss("loc"), error))
    within <- function(term) if (L > 1) paste0("loc:", term) else term
    rows <- rbind(rows, row("Rows within Locations .....", dfs(within("row")), ss(within("row")), error))
    rows <- rbind(rows, row("Columns within Locations ..", dfs(within("col")), ss(within("col")), error))
    rows <- rbind(rows, row("Treatments ................", dfs("trt"), ss("trt"),
                            if (random == 1 && L > 1) "Locations x Treatments ...." else error))
    if (L > 1) rows <- rbind(rows, row("Locations x Treatments ....", dfs("loc:trt"), ss("loc:trt"), error))
    rows <- rbind(rows, row(error, dfs("Residuals") - m, ss("Residuals")))
    rows <- rbind(rows, row("Corrected Total ...........", n - 1 - m, sum(s[, "Sum Sq"])))
    emit("latin", name, c(t, L, 0), integer(0),
         list(row = plots$row, column = plots$col, treatment = plots$trt), random, yin, rows)
}

# A square lattice of k^2 treatments: replicate 1 groups the rows of a k x k
# array, replicate 2 its columns, further replicates its broken diagonals
# at different slopes; treatments, blocks and plots are then randomised.
lattice_case <- function(name, k, r, L, missing = integer(0), seed = 1) {
    set.seed(seed)
    t <- k * k
    arr <- matrix(sample(t), k, k, byrow = TRUE)
    grouping <- function(rep) {
        lapply(seq_len(k), function(b) {
            if (rep == 1) return(arr[b, ])
            if (rep == 2) return(arr[, b])
            slope <- rep - 2
            sapply(seq_len(k), function(i) arr[i, ((b - 1 + slope * (i - 1)) %% k) + 1])
        })
    }
    plots <- NULL
    for (l in seq_len(L)) for (rep in seq_len(r)) {
        blocks <- grouping(rep)[sample(k)]
        for (b in seq_len(k)) {
            trts <- blocks[[b]][sample(k)]
            plots <- rbind(plots, data.frame(loc = l, rep = rep, block = b, trt = trts))
        }
    }
    n <- nrow(plots)
    trt_effect <- rnorm(t, sd = 2)
    block_effect <- rnorm(L * r * k, sd = 1.5)
    y <- round(30 + plots$loc + 0.5 * plots$rep + trt_effect[plots$trt] +
               block_effect[((plots$loc - 1) * r + plots$rep - 1) * k + plots$block] + rnorm(n, sd = 0.7), 2)
    yin <- y
    yin[missing] <- NA
    d <- data.frame(loc = factor(plots$loc), rep = factor(plots$rep), block = factor(plots$block),
                    trt = factor(plots$trt), y = yin)
    if (L > 1) {
        unadjusted <- y ~ loc + loc:rep + trt + loc:rep:block
        adjusted <- y ~ loc + loc:rep + loc:rep:block + trt
        rep_term <- "loc:rep"
        block_term <- "loc:rep:block"
    } else {
        unadjusted <- y ~ rep + trt + rep:block
        adjusted <- y ~ rep + rep:block + trt
        rep_term <- "rep"
        block_term <- "rep:block"
    }
    d <- fill(d, adjusted)
    su <- term_table(unadjusted, d)
    sa <- term_table(adjusted, d)
    m <- length(missing)
    error <- "Intra-Block Error ........."
    rows <- NULL
    if (L > 1) rows <- rbind(rows, row("Locations .................", su["loc", "Df"], su["loc", "Sum Sq"],
                                       "Replicates within Locations"))
    rows <- rbind(rows, row(if (L > 1) "Replicates within Locations" else "Replicates ................",
                            su[rep_term, "Df"], su[rep_term, "Sum Sq"], error))
    rows <- rbind(rows, row("Treatments (unadjusted) ...", su["trt", "Df"], su["trt", "Sum Sq"]))
    rows <- rbind(rows, row("Treatments (adjusted) .....", sa["trt", "Df"], sa["trt", "Sum Sq"], error))
    rows <- rbind(rows, row("Blocks (adjusted) .........", su[block_term, "Df"], su[block_term, "Sum Sq"], error))
    rows <- rbind(rows, row(error, su["Residuals", "Df"] - m, su["Residuals", "Sum Sq"]))
    rows <- rbind(rows, row("Corrected Total ...........", n - 1 - m, sum(su[, "Sum Sq"])))
    emit("lattice", name, c(r, L, k), integer(0), list(treatment = plots$trt), 0, yin, rows)
}

factorial_case("crd", "crd_one_location", 3, 1, c(2, 3), seed = 11)
factorial_case("crd", "crd_three_factors", 2, 1, c(2, 2, 3), seed = 12)
factorial_case("crd", "crd_locations", 3, 3, c(3, 2), seed = 13)
factorial_case("crd", "crd_locations_random", 2, 2, c(2, 2, 2), random = 1, seed = 14)
factorial_case("crd", "crd_missing", 3, 1, c(2, 3), missing = c(2, 10, 17), seed = 15)
factorial_case("crd", "crd_locations_missing", 2, 2, c(2, 3), missing = c(1, 14, 24), seed = 16)
factorial_case("rcbd", "rcbd_one_location", 4, 1, c(2, 3), seed = 21)
factorial_case("rcbd", "rcbd_three_factors", 3, 1, c(2, 2, 2), seed = 22)
factorial_case("rcbd", "rcbd_locations", 3, 3, c(2, 2), seed = 23)
factorial_case("rcbd", "rcbd_locations_random", 2, 3, c(3, 2), random = 1, seed = 24)
factorial_case("rcbd", "rcbd_missing", 4, 1, c(2, 2), missing = c(3, 9), seed = 25)
factorial_case("rcbd", "rcbd_locations_missing", 3, 2, c(2, 3), missing = c(5, 20, 31), seed = 26)
latin_case("latin_one_location", 5, 1, seed = 31)
latin_case("latin_locations", 4, 3, seed = 32)
latin_case("latin_locations_random", 4, 2, random = 1, seed = 33)
latin_case("latin_missing", 5, 1, missing = c(4, 17), seed = 34)
latin_case("latin_locations_missing", 4, 2, missing = c(3, 20), seed = 35)
lattice_case("lattice_simple", 3, 2, 1, seed = 41)
lattice_case("lattice_triple", 4, 3, 1, seed = 42)
lattice_case("lattice_locations", 3, 2, 2, seed = 43)
lattice_case("lattice_missing", 3, 3, 1, missing = c(5, 22), seed = 44)
lattice_case("lattice_locations_missing", 3, 2, 2, missing = c(7, 30), seed = 45)
close(tables)

# Services: Yates' estimates and Bartlett's test.
services <- file("tests/anova/data/fielddesigns_services.txt", "w")
writeLines(c("# Yates' estimates (case yates name / counts b L t / y n ... / filled n ...) and",
             "# Bartlett's test (case bartlett name / df n ... / ms n ... / statistic / p)."), services)
yates_case <- function(name, b, L, t, missing, seed, classic = FALSE) {
    set.seed(seed)
    g <- expand.grid(trt = seq_len(t), block = seq_len(b), loc = seq_len(L))
    y <- round(10 + rnorm(nrow(g)) + 0.6 * g$trt + 0.4 * g$block + g$loc, 2)
    yin <- y
    yin[missing] <- NA
    d <- data.frame(loc = factor(g$loc), block = factor(g$block), trt = factor(g$trt), y = yin)
    model <- if (L > 1) y ~ loc + loc:block + loc*trt else y ~ block + trt
    filled <- fill(d, model)$y
    if (classic) {
        # one missing plot, one location: (t T + b B - G) / ((t - 1)(b - 1))
        i <- missing
        tt <- sum(yin[g$trt == g$trt[i]], na.rm = TRUE)
        bb <- sum(yin[g$block == g$block[i]], na.rm = TRUE)
        gg <- sum(yin, na.rm = TRUE)
        estimate <- (t * tt + b * bb - gg) / ((t - 1) * (b - 1))
        stopifnot(abs(estimate - filled[i]) < 1e-9)
        filled[i] <- estimate
    }
    writeLines(c(paste("case yates", name), paste("counts", b, L, t), vec("y", yin), vec("filled", filled)),
               services)
}
yates_case("yates_classic", 5, 1, 4, 7, seed = 51, classic = TRUE)
yates_case("yates_two_missing", 4, 1, 5, c(3, 14), seed = 52)
yates_case("yates_locations", 3, 2, 4, c(2, 13, 23), seed = 53)
yates_case("yates_none_missing", 3, 1, 3, integer(0), seed = 54)

bartlett_case <- function(name, sizes, sds, seed) {
    set.seed(seed)
    groups <- mapply(function(n, s) rnorm(n, sd = s), sizes, sds, SIMPLIFY = FALSE)
    test <- bartlett.test(groups)
    writeLines(c(paste("case bartlett", name), vec("df", sizes - 1), vec("ms", sapply(groups, var)),
                 paste("statistic", fmt(unname(test$statistic))), paste("p", fmt(test$p.value))), services)
}
bartlett_case("bartlett_equal", c(12, 12, 12), c(1, 1, 1), seed = 61)
bartlett_case("bartlett_unequal", c(8, 15, 10, 20), c(1, 2.5, 1.2, 0.6), seed = 62)
bartlett_case("bartlett_two", c(30, 25), c(1, 3), seed = 63)
close(services)
