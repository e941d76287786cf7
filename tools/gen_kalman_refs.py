#!/usr/bin/python3
"""Reference runs of the Kalman filter, written to tests/kalman/data/*.txt.

The filter here is the textbook recursion in numpy, written apart from the
library: at each time point, with F = Z P Z' + R and v = y - Z b,

    K = P Z' F+,  b += K v,  P -= K Z P,
    rank += rank F,  ss += v' F+ v,  log_det += log pdet F,

F+ the Moore-Penrose pseudo-inverse and pdet the product of the non-zero
eigenvalues; then b := T b, P := T P T' + Q.  Where F is regular the runs
are checked against statsmodels' KalmanFilter (one-step predictions, their
errors and covariances, and the log-likelihood, which gives ss + log_det).
The singular cases repeat an observation with its error, placed before the
second independent one, where the library's generalised determinant is the
pseudo-determinant.

Models: a local level, a local linear trend, an ARMA(2, 1) in state-space
form (rank-one state noise, no measurement error) and a three-state model
with four observations of which two coincide (singular F) and a rank-one
initial covariance; 1000 steps each with missing time points, and partial
observation sets in the last.

File layout, whitespace separated:
  n N / ny M / t ... / q ... / z ... / r ... / b0 ... / p0 ...   (row-major;
  "t" alone for no transition)
  steps K
  then one line per step:
  m  i_1..i_m  y_1..y_m  v_1..v_m  F (m x m, row-major)  b (n)  P (n x n)  n_rank ss log_det
where i_k are the zero-based observations present (m = 0: none), and b, P
and the sums are the values after the call.
"""
import os

import numpy as np

OUT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tests", "kalman", "data")
STEPS = 1000
RANK_TOLERANCE = 1e-9


def pdet_and_pinv(f):
    """Pseudo-determinant, pseudo-inverse and rank of a symmetric matrix."""
    w, u = np.linalg.eigh(f)
    keep = w > RANK_TOLERANCE * max(1.0, np.max(np.abs(w)))
    pinv = (u[:, keep] / w[keep]) @ u[:, keep].T
    return np.prod(w[keep]), pinv, int(keep.sum())


def run_filter(model, ys, present):
    n = model["n"]
    b = model["b0"].copy()
    p = model["p0"].copy()
    rank = 0
    ss = 0.0
    log_det = 0.0
    rows = []
    for y, idx in zip(ys, present):
        m = len(idx)
        v = np.zeros(0)
        f = np.zeros((0, 0))
        if m > 0:
            z = model["z"][idx, :]
            r = model["r"][np.ix_(idx, idx)]
            f = z @ p @ z.T + r
            v = y[idx] - z @ b
            pdet, finv, frank = pdet_and_pinv(f)
            k = p @ z.T @ finv
            b = b + k @ v
            p = p - k @ z @ p
            p = (p + p.T) / 2
            rank += frank
            ss += v @ finv @ v
            log_det += np.log(pdet)
        if model["t"] is not None:
            b = model["t"] @ b
            p = model["t"] @ p @ model["t"].T
        if model["q"] is not None:
            p = p + model["q"]
        p = (p + p.T) / 2
        rows.append((list(idx), y[idx], v, f, b.copy(), p.copy(), rank, ss, log_det))
        assert b.shape == (n,)
    return rows


def statsmodels_check(model, ys, present, rows):
    """The largest relative disagreement with statsmodels' filter."""
    from statsmodels.tsa.statespace.kalman_filter import KalmanFilter

    n, ny = model["n"], model["ny"]
    endog = np.full((len(ys), ny), np.nan)
    for t, (y, idx) in enumerate(zip(ys, present)):
        endog[t, idx] = y[idx]
    kf = KalmanFilter(k_endog=ny, k_states=n, tolerance=0)  # no steady-state shortcut
    kf.bind(endog)
    kf["design"] = model["z"]
    kf["obs_cov"] = model["r"]
    kf["transition"] = model["t"] if model["t"] is not None else np.eye(n)
    kf["selection"] = np.eye(n)
    kf["state_cov"] = model["q"] if model["q"] is not None else np.zeros((n, n))
    kf.initialize_known(model["b0"], model["p0"])
    res = kf.filter()
    worst = 0.0

    def rel(a, b):
        return np.max(np.abs(np.asarray(a) - np.asarray(b))) / max(np.max(np.abs(b)), 1e-300)

    n_obs = 0
    for t, row in enumerate(rows):
        idx, _, v, f, b, p, _, ss, log_det = row
        worst = max(worst, rel(b, res.predicted_state[:, t + 1]), rel(p, res.predicted_state_cov[:, :, t + 1]))
        if idx:
            worst = max(worst, rel(v, res.forecasts_error[idx, t]),
                        rel(f, res.forecasts_error_cov[np.ix_(idx, idx, [t])][:, :, 0]))
        n_obs += len(idx)
        two_llf = -2 * np.sum(res.llf_obs[: t + 1]) - n_obs * np.log(2 * np.pi)
        worst = max(worst, abs(two_llf - (ss + log_det)) / max(abs(ss + log_det), 1.0))
    return worst


def fmt(values):
    return " ".join(repr(float(x)) for x in np.ravel(values))


def write(name, model, ys, present, rows):
    os.makedirs(OUT, exist_ok=True)
    with open(os.path.join(OUT, name + ".txt"), "w") as out:
        out.write(f"n {model['n']}\nny {model['ny']}\n")
        for key in ("t", "q", "z", "r", "b0", "p0"):
            value = model[key]
            out.write(key + ("" if value is None else " " + fmt(value)) + "\n")
        out.write(f"steps {len(rows)}\n")
        for idx, y, v, f, b, p, rank, ss, log_det in rows:
            parts = [str(len(idx))] + [str(i) for i in idx]
            for block in (y, v, f, b, p):
                if np.size(block):
                    parts.append(fmt(block))
            parts += [str(rank), repr(float(ss)), repr(float(log_det))]
            out.write(" ".join(parts) + "\n")


def simulate(model, rng, steps):
    """Observations of the model itself, so that the filter stays stable."""
    n, ny = model["n"], model["ny"]
    x = rng.multivariate_normal(model["b0"], model["p0"])
    t = model["t"] if model["t"] is not None else np.eye(n)
    q = model["q"] if model["q"] is not None else np.zeros((n, n))
    ys = []
    for _ in range(steps):
        eps = rng.multivariate_normal(np.zeros(ny), model["r"]) if np.any(model["r"]) else np.zeros(ny)
        ys.append(model["z"] @ x + eps)
        x = t @ x + rng.multivariate_normal(np.zeros(n), q)
    return ys


def missing_pattern(rng, steps, ny, block):
    """All observations, less a random tenth of the time points and a block."""
    present = []
    for k in range(steps):
        gone = rng.random() < 0.1 or block[0] <= k < block[1]
        present.append([] if gone else list(range(ny)))
    return present


def stationary_covariance(t, q):
    n = t.shape[0]
    vec = np.linalg.solve(np.eye(n * n) - np.kron(t, t), q.ravel())
    return vec.reshape(n, n)


def models(rng):
    level = dict(n=1, ny=1, t=np.array([[1.0]]), q=np.array([[0.5]]), z=np.array([[1.0]]),
                 r=np.array([[2.0]]), b0=np.array([0.0]), p0=np.array([[1000.0]]))
    yield "local_level", level, missing_pattern(rng, STEPS, 1, (400, 420)), True

    trend = dict(n=2, ny=1, t=np.array([[1.0, 1.0], [0.0, 1.0]]), q=np.diag([0.1, 0.01]),
                 z=np.array([[1.0, 0.0]]), r=np.array([[1.0]]), b0=np.array([0.0, 0.0]), p0=100.0 * np.eye(2))
    yield "local_trend", trend, missing_pattern(rng, STEPS, 1, (700, 710)), True

    phi1, phi2, theta, sigma2 = 0.5, -0.3, 0.4, 1.5
    t = np.array([[phi1, 1.0], [phi2, 0.0]])
    g = np.array([1.0, theta])
    q = sigma2 * np.outer(g, g)
    arma = dict(n=2, ny=1, t=t, q=q, z=np.array([[1.0, 0.0]]), r=np.array([[0.0]]), b0=np.zeros(2),
                p0=stationary_covariance(t, q))
    yield "arma21", arma, missing_pattern(rng, STEPS, 1, (100, 103)), True

    z0 = [1.0, 0.5, 0.0]
    r = np.array([[1.0, 1.0, 0.2, 0.0], [1.0, 1.0, 0.2, 0.0], [0.2, 0.2, 2.0, 0.3], [0.0, 0.0, 0.3, 1.5]])
    u = np.array([1.0, -2.0, 0.5])
    repeated = dict(n=3, ny=4, t=np.array([[0.9, 0.1, 0.0], [0.0, 0.8, 0.2], [0.1, 0.0, 0.7]]),
                    q=np.array([[0.5, 0.1, 0.0], [0.1, 0.4, 0.05], [0.0, 0.05, 0.3]]),
                    z=np.array([z0, z0, [0.0, 1.0, 1.0], [1.0, 0.0, -1.0]]), r=r, b0=np.array([1.0, 0.0, -1.0]),
                    p0=np.outer(u, u))
    subsets = [[0, 1, 2, 3], [0, 1, 2, 3], [0, 1, 3], [0, 1], [2], [1, 2, 3], []]
    present = [subsets[int(rng.integers(len(subsets)))] if k > 2 else [0, 1, 2, 3] for k in range(STEPS)]
    yield "repeated_observation", repeated, present, False


def main():
    rng = np.random.default_rng(20240615)
    for name, model, present, regular in models(rng):
        ys = simulate(model, rng, STEPS)
        if name == "repeated_observation":
            for y in ys:
                y[1] = y[0]  # the repeated observation repeats its value too
        rows = run_filter(model, ys, present)
        if regular:
            worst = statsmodels_check(model, ys, present, rows)
            print(f"{name}: largest relative difference from statsmodels {worst:.2e}")
            assert worst < 1e-9, name
        else:
            ranks = sorted({rows[k][6] - (rows[k - 1][6] if k else 0) for k in range(len(rows))})
            print(f"{name}: ranks added per step {ranks}")
        write(name, model, ys, present, rows)


if __name__ == "__main__":
    main()
