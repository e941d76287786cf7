#!/usr/bin/Rscript
# Reference regressor matrices for regressors_for_glm, computed with R's
# model.matrix, written to tests/regressors/data/references.txt.
#
# Each effect's block comes from model.matrix of the full factorial formula
# over the effect's class variables (so that every factor is coded by its
# contrasts), taking the columns of the highest-order term.  The contrasts
# of a dummy method: 1 identity (one column per class), 2 treatment with the
# last class as base, 3 sum to zero.  R lets the first variable of a term
# vary fastest, so the class variables enter the formula in reverse order of
# the effect.  The continuous columns of an effect enter as their product.
# Missing values pass through (na.pass) and give NA across the block.
#
# Values are multiples of 1/8 below 8 in magnitude, so that every product is
# exact in float and double alike.
#
# Each case is a block:
#   case NAME
#   method M order O                  O = 0: the effects are listed
#   n_class K n_cont C x_col_dim D
#   class_columns K c_1 ... c_K       zero-based
#   effects E                         then E lines: size, columns (zero-based)
#   x N D                             then N rows of D values
#   expected N R                      then N rows of R values
# Missing values are written as nan.

out_path <- file.path(dirname(sub("--file=", "", grep("--file=", commandArgs(FALSE), value = TRUE))),
                      "..", "tests", "regressors", "data", "references.txt")

contrast_of <- function(method, n) {
  switch(method, diag(n), contr.treatment(n, base = n), contr.sum(n))
}

# The model of order 1 or 2 over the columns 0 .. n_var - 1.
generated_effects <- function(n_var, order, class_columns) {
  effects <- lapply(seq_len(n_var) - 1, function(i) i)
  if (order == 2) {
    for (i in seq_len(n_var) - 1)
      if (!(i %in% class_columns)) effects[[length(effects) + 1]] <- c(i, i)
    for (i in seq_len(n_var) - 1)
      for (j in seq_len(n_var) - 1)
        if (i < j) effects[[length(effects) + 1]] <- c(i, j)
  }
  effects
}

effect_block <- function(x, effect, class_columns, method) {
  classes <- effect[effect %in% class_columns]
  continuous <- effect[!(effect %in% class_columns)]
  stopifnot(!anyDuplicated(classes))
  product <- apply(x[, continuous + 1, drop = FALSE], 1, prod)  # 1 for no column
  if (length(classes) == 0) return(matrix(product, ncol = 1))
  d <- list()
  contrasts <- list()
  names <- character(0)
  for (c in rev(classes)) {
    name <- paste0("c", c)
    d[[name]] <- factor(x[, c + 1])
    contrasts[[name]] <- contrast_of(method, nlevels(d[[name]]))
    names <- c(names, name)
  }
  if (length(continuous) > 0) {
    d$w <- product
    names <- c(names, "w")
  }
  formula <- as.formula(paste("~", paste(names, collapse = "*")))
  frame <- model.frame(formula, as.data.frame(d), na.action = na.pass)
  mm <- model.matrix(formula, frame, contrasts.arg = contrasts)
  assign <- attr(mm, "assign")
  unname(mm[, assign == max(assign), drop = FALSE])
}

expected_matrix <- function(x, effects, class_columns, method) {
  do.call(cbind, lapply(effects, function(e) effect_block(x, e, class_columns, method)))
}

eighths <- function(n, low = -32, high = 32) sample(low:high, n, replace = TRUE) / 8
classes_of <- function(n, values) sample(values, n, replace = TRUE)

format_values <- function(v) ifelse(is.na(v), "nan", sprintf("%.17g", v))

write_case <- function(con, name, x, n_class, n_cont, class_columns, method, order, effects = NULL) {
  listed <- if (order == 0) effects else generated_effects(n_class + n_cont, order, class_columns)
  expected <- expected_matrix(x, listed, class_columns, method)
  writeLines(c(sprintf("case %s", name), sprintf("method %d order %d", method, order),
               sprintf("n_class %d n_cont %d x_col_dim %d", n_class, n_cont, ncol(x)),
               paste(c("class_columns", n_class, class_columns), collapse = " "),
               sprintf("effects %d", if (order == 0) length(effects) else 0)), con)
  if (order == 0)
    for (e in effects) writeLines(paste(c(length(e), e), collapse = " "), con)
  for (m in list(list("x", x), list("expected", expected))) {
    writeLines(sprintf("%s %d %d", m[[1]], nrow(m[[2]]), ncol(m[[2]])), con)
    for (i in seq_len(nrow(m[[2]]))) writeLines(paste(format_values(m[[2]][i, ]), collapse = " "), con)
  }
}

set.seed(20311)
cases <- list()
add <- function(...) cases[[length(cases) + 1]] <<- list(...)

# One class variable with unsorted values, one continuous variable.
x <- cbind(classes_of(12, c(7, -1.5, 2)), eighths(12))
x[1:3, 1] <- c(7, -1.5, 2)
add(name = "one_class", x = x, n_class = 1, n_cont = 1, class_columns = 0, order = 1)

# Two class variables and two continuous ones, the generated model of order 2.
x <- cbind(classes_of(24, c(1, 2, 3)), classes_of(24, c(-4, 4)), eighths(24), eighths(24))
add(name = "order_two", x = x, n_class = 2, n_cont = 2, class_columns = 0:1, order = 2)

# Explicit effects: a three-way class interaction, classes with continuous
# columns on either side, a square inside an interaction; missing values.
x <- cbind(classes_of(30, c(0, 1, 2)), classes_of(30, c(10, 20, 30, 40)), classes_of(30, c(0.5, 1.5)),
           eighths(30), eighths(30))
x[4, 4] <- NA
x[9, 2] <- NA
x[17, 3] <- NA
x[22, 5] <- NA
effects <- list(c(0, 1, 2), c(3, 0), c(1, 0), c(0, 3, 4), 4, c(2, 3, 3), c(1, 4, 0), c(2, 0, 1), c(4, 3))
add(name = "effects_missing", x = x, n_class = 3, n_cont = 2, class_columns = 0:2, order = 0, effects = effects)

# Class variables in columns 4 and 1 of rows of six values: the generated
# model still runs over columns 0 to 3, with column 1 a class variable.
x <- cbind(eighths(16), classes_of(16, c(3, 1, 2)), eighths(16), eighths(16), classes_of(16, c(6, 5)),
           eighths(16))
add(name = "class_columns_order_two", x = x, n_class = 2, n_cont = 2, class_columns = c(4, 1), order = 2)
add(name = "class_columns_effects", x = x, n_class = 2, n_cont = 2, class_columns = c(4, 1), order = 0,
    effects = list(c(4, 1), c(5, 4), c(1, 2, 4), 0, c(5, 5)))

# No class variable.
x <- cbind(eighths(10), eighths(10), eighths(10))
add(name = "continuous_only", x = x, n_class = 0, n_cont = 3, class_columns = integer(0), order = 2)

# Larger: three class variables of 4, 3 and 2 classes, two continuous, order 2.
x <- cbind(classes_of(60, c(1, 2, 3, 4)), classes_of(60, c(-1, 0, 1)), classes_of(60, c(5, 6)),
           eighths(60), eighths(60))
x[c(7, 33), 1] <- NA
x[50, 5] <- NA
add(name = "three_classes", x = x, n_class = 3, n_cont = 2, class_columns = 0:2, order = 2)

con <- file(out_path, "w")
writeLines("# Generated by tools/gen_regressors_refs.R with R's model.matrix; do not edit.", con)
for (c in cases)
  for (method in 1:3)
    write_case(con, sprintf("%s_%d", c$name, method), c$x, c$n_class, c$n_cont, c$class_columns, method,
               c$order, c$effects)
close(con)
