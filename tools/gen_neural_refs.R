# Reference fits for the network tests: R's nnet (a BFGS fit of the same
# error, the sum of squares) on the curves of the tests, 50 points on
# [0, 2 pi], one hidden layer of 10 logistic nodes and a linear output:
# the sine itself, and the sine with normal noise of deviation 0.1 (the
# noisy targets are written out, so the tests need no R).
# Writes tests/neural/data/nnet_sine.csv: per curve and seed the half sum
# of squares nnet reached and the seconds it took, and
# tests/neural/data/noisy_sine.csv: the noisy curve.
#   Rscript tools/gen_neural_refs.R
suppressMessages(library(nnet))
x <- 2 * pi * (0:49) / 49
set.seed(2024)
noisy <- sin(x) + rnorm(50, sd = 0.1)
write.csv(data.frame(x = sprintf("%.17g", x), y = sprintf("%.17g", noisy)), "tests/neural/data/noisy_sine.csv",
          row.names = FALSE, quote = FALSE)
rows <- NULL
for (curve in c("sine", "noisy")) {
  y <- if (curve == "sine") sin(x) else noisy
  for (seed in 1:10) {
    set.seed(seed)
    t0 <- proc.time()[["elapsed"]]
    fit <- nnet(matrix(x), y, size = 10, linout = TRUE, maxit = 1000, abstol = 0, reltol = 1e-12, trace = FALSE)
    t1 <- proc.time()[["elapsed"]]
    rows <- rbind(rows, data.frame(curve = curve, seed = seed, half_sse = sprintf("%.17g", fit$value / 2),
                                   seconds = sprintf("%.4f", t1 - t0)))
  }
}
write.csv(rows, "tests/neural/data/nnet_sine.csv", row.names = FALSE, quote = FALSE)
