# Regularised incomplete beta function for a shape beyond 2^24, where the
# continued fraction serves: R's pbeta at the quantiles of a grid of shapes.
# Writes tests/special/data/beta_large_shapes.csv: x, a, b, value, complement.
shapes_a <- c(0.5, 2, 50, 1e3, 1e6, 1e9)
shapes_b <- c(2^24 * 1.5, 1e9, 1e12, 1e15)
probs <- c(1e-10, 1e-3, 0.1, 0.5, 0.9, 0.999)
rows <- NULL
for (a in shapes_a) for (b in shapes_b) for (p in probs) {
  x <- qbeta(p, a, b)
  if (x <= 0 || x >= 1) next
  rows <- rbind(rows, c(x, a, b, pbeta(x, a, b), pbeta(x, a, b, lower.tail = FALSE)))
  rows <- rbind(rows, c(1 - x, b, a, pbeta(1 - x, b, a), pbeta(1 - x, b, a, lower.tail = FALSE)))
}
colnames(rows) <- c("x", "a", "b", "value", "complement")
write.csv(format(as.data.frame(rows), digits = 17), "tests/special/data/beta_large_shapes.csv",
          row.names = FALSE, quote = FALSE)
