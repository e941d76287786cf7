// Threads as real programs use them: one family on the main thread, others
// on threads that start, work and end; then every family at once.  Each
// family's work gives a fingerprint of its results (bytes, texts, error
// codes), which must not depend on the thread it ran on or on what other
// threads did.  A thread end that runs a destructor over a value the thread
// never held, or leaks one it did, fails here (and under the sanitizers).
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "capture.h"
#include "orvls.h"

namespace {

class Fingerprint {
public:
    template <class T>
    void add(const T* values, int64_t n)
    {
        if (values == nullptr) {
            ADD_FAILURE() << "a routine returned no result";
            return;
        }
        text_.append(reinterpret_cast<const char*>(values), static_cast<std::size_t>(n) * sizeof(T));
    }
    template <class T>
    void add_owned(T* values, int64_t n)
    {
        add(values, n);
        std::free(values);
    }
    template <class T>
    void add_value(T value) { add(&value, 1); }
    void add_text(const std::string& text) { text_ += text; }
    std::string take() { return std::move(text_); }

private:
    std::string text_;
};

// Errors: a refused call, its type, code and report text (the message file
// is read through the thread's own cache).
std::string errors()
{
    ErrorCapture capture;
    Fingerprint print;
    double x[4] = {1, 2, 3, 4};
    print.add_value(orvls_d_simple_statistics(-1, 2, x, 0));
    print.add_value(last_outcome());
    print.add_value(orvls_d_gamma(-2.0));
    print.add_value(last_outcome());
    print.add_text(capture.text());
    return print.take();
}

// Print settings: a thread's own page width and format shape its text.
std::string printing()
{
    int64_t width = 40, format = 1, defaults = 0;
    orvls_page(-1, &width);
    orvls_write_options(-ORVLS_SET_FORMAT, &format);
    double a[6] = {1.0 / 3, 2, -7.5e-9, 4e12, std::nan(""), 6};
    char* text = nullptr;
    orvls_d_write_matrix("Settings of this thread", 2, 3, a, ORVLS_RETURN_STRING, &text, 0);
    std::string result = text == nullptr ? "<null>" : text;
    std::free(text);
    width = 78;
    orvls_page(-1, &width);
    orvls_write_options(0, &defaults);
    return result;
}

// Streams: the thread's output stream receives what it prints.
std::string streams()
{
    char* buffer = nullptr;
    std::size_t length = 0;
    FILE* stream = open_memstream(&buffer, &length);
    orvls_output_file(ORVLS_OUTPUT_FILE, stream, 0);
    orvls_dwrrrs("One value", 2.5);
    orvls_wrrrs("Another", -0.125f);
    orvls_output_file(ORVLS_OUTPUT_FILE, stdout, 0);
    std::fclose(stream);
    std::string result(buffer, length);
    std::free(buffer);
    return result;
}

// Seeding keeps a built shuffle table, register or twister going, so a
// workload that must not depend on what ran before restarts them all.
void restart_streams(int64_t option, int64_t seed)
{
    const float float_reset[1] = {0};
    const double double_reset[1] = {0};
    const int64_t register_reset[1] = {0};
    const uint32_t mt32_reset[1] = {626};
    const uint64_t mt64_reset[1] = {314};
    orvls_f_random_table_set(float_reset);
    orvls_d_random_table_set(double_reset);
    orvls_random_GFSR_table_set(register_reset);
    orvls_random_MT32_table_set(mt32_reset);
    orvls_random_MT64_table_set(mt64_reset);
    orvls_random_option(option);
    orvls_random_seed_set(seed);
}

// The random state: every generator, seeded, in both precisions.
std::string uniform()
{
    Fingerprint print;
    for (int64_t option = 1; option <= 9; ++option) {
        restart_streams(option, 123457);
        print.add_owned(orvls_d_random_uniform(257, 0), 257);
        print.add_owned(orvls_f_random_uniform(131, 0), 131);
    }
    orvls_random_option(1);
    return print.take();
}

// Deviates, including those that keep a setup record per thread.
std::string deviates()
{
    Fingerprint print;
    restart_streams(7, 99991);
    print.add_owned(orvls_d_random_normal(100, 0), 100);
    print.add_owned(orvls_f_random_normal(100, ORVLS_ACCEPT_REJECT_METHOD, 0), 100);
    print.add_owned(orvls_d_random_gamma(100, 0.3, 0), 100);
    print.add_owned(orvls_f_random_gamma(100, 4.5f, 0), 100);
    print.add_owned(orvls_d_random_beta(100, 2.0, 5.0, 0), 100);
    for (int repeat = 0; repeat < 2; ++repeat) {  // the second call finds the setup kept
        print.add_owned(orvls_d_random_binomial(100, 1000, 0.3, 0), 100);
        print.add_owned(orvls_f_random_binomial(100, 50, 0.4f, 0), 100);
        print.add_owned(orvls_random_poisson(100, 200.0f, 0), 100);
        print.add_owned(orvls_d_random_hypergeometric(100, 40, 300, 1000, 0), 100);
    }
    orvls_random_option(1);
    return print.take();
}

// Special functions, whose series lengths are kept per thread and precision.
std::string special()
{
    Fingerprint print;
    for (int k = -40; k <= 40; ++k) {
        const double x = k / 8.0;
        print.add_value(orvls_d_erf(x));
        print.add_value(orvls_d_erfc(x));
        print.add_value(orvls_f_erf(static_cast<float>(x)));
        print.add_value(orvls_f_erfc(static_cast<float>(x)));
        print.add_value(orvls_d_erfc_inverse(1.0 + k / 41.0));
        print.add_value(orvls_d_log_gamma(1.0 + std::abs(x)));
        print.add_value(orvls_f_gamma(0.5f + static_cast<float>(std::abs(x))));
        print.add_value(orvls_d_beta_incomplete((k + 41) / 82.0, 2.5, 3.5));
    }
    return print.take();
}

std::string distributions()
{
    Fingerprint print;
    for (int k = 1; k < 40; ++k) {
        const double p = k / 40.0;
        print.add_value(orvls_d_normal_inverse_cdf(p));
        print.add_value(orvls_d_t_inverse(p, 7.5));
        print.add_value(orvls_d_chi_squared_inverse_cdf(p, 3.0));
        print.add_value(orvls_f_F_cdf(static_cast<float>(8 * p), 3.0f, 11.0f));
        print.add_value(orvls_d_gamma_cdf(4 * p, 2.5));
    }
    return print.take();
}

std::string statistics()
{
    ErrorCapture capture;  // the missing-value warning is part of the result
    Fingerprint print;
    double x[24];
    float xf[24];
    for (int i = 0; i < 24; ++i) {
        x[i] = std::sin(i * 0.7) * 10 + i;
        xf[i] = static_cast<float>(x[i]);
    }
    x[5] = std::nan("");
    print.add_owned(orvls_d_simple_statistics(8, 3, x, ORVLS_MEDIAN_AND_SCALE, 0), 3 * 17);
    print.add_owned(orvls_f_simple_statistics(6, 4, xf, ORVLS_MISSING_ELEMENTWISE, 0), 4 * 14);
    print.add_text(capture.text());
    return print.take();
}

// Equal fingerprints; else where they part, without printing the bytes.
::testing::AssertionResult same(const std::string& got, const std::string& expected)
{
    if (got == expected)
        return ::testing::AssertionSuccess();
    const auto parted = std::mismatch(got.begin(), got.end(), expected.begin(), expected.end());
    return ::testing::AssertionFailure() << "lengths " << got.size() << " and " << expected.size()
                                         << ", first difference at byte " << (parted.first - got.begin());
}

// Contingency tables and the exact tests, whose workspaces grow per call.
std::string categorical()
{
    ErrorCapture capture;  // the notice that the node table grew is part of the result
    Fingerprint print;
    double table[3 * 4] = {8, 4, 2, 1, 3, 9, 5, 2, 1, 4, 7, 14};
    double chi_stats[10], table_stats[12], observed = 0;
    int64_t tables = 0;
    orvls_d_contingency_table(3, 4, table, ORVLS_CHI_SQUARED_STATS_USER, chi_stats, ORVLS_TABLE_STATS_USER,
                              table_stats, 0);
    print.add(chi_stats, 10);
    print.add(table_stats, 12);
    print.add_value(orvls_d_exact_network(3, 4, table, ORVLS_PROB_TABLE, &observed, 0));
    print.add_value(observed);
    print.add_value(orvls_d_exact_enumeration(3, 4, table, ORVLS_TABLE_COUNT, &tables, 0));
    print.add_value(tables);
    print.add_text(capture.text());
    return print.take();
}

// A network trained from a seeded stream: the trainer draws its epochs'
// subsets and starts from the thread's random state.
std::string network()
{
    Fingerprint print;
    double x[30 * 2], y[30], stats[5];
    restart_streams(1, 24680);
    orvls_d_random_uniform(60, ORVLS_RETURN_USER, x, 0);
    for (int i = 0; i < 30; ++i)
        y[i] = x[2 * i] * x[2 * i + 1] + 0.5 * x[2 * i];
    orvls_d_ff_net* net = orvls_d_mlff_network_init(2, 1);
    orvls_d_mlff_network(net, ORVLS_CREATE_HIDDEN_LAYER, 3, 0);
    orvls_d_mlff_network(net, ORVLS_LINK_ALL, 0);
    orvls_d_mlff_network_trainer(net, 30, 0, 2, nullptr, x, y, ORVLS_STAGE_I, 3, 20, ORVLS_MAX_ITN, 50,
                                 ORVLS_RETURN_USER, stats, 0);
    print.add(stats, 5);
    print.add_owned(orvls_d_mlff_network_forecast(net, 30, 0, 2, nullptr, x, 0), 30);
    orvls_d_mlff_network_free(net);
    return print.take();
}

// A fit in a sequence of calls, whose open sequence lives with its thread:
// the rows in three chunks, then the coefficients and their covariances.
std::string regression()
{
    Fingerprint print;
    double x[24 * 2], y[24];
    for (int i = 0; i < 24; ++i) {
        x[2 * i] = i % 7;
        x[2 * i + 1] = std::cos(i * 0.3);
        y[i] = 1.5 + 0.25 * x[2 * i] - 2 * x[2 * i + 1] + std::sin(i * 1.7) / 10;
    }
    double* covariances = nullptr;
    orvls_d_regression(8, 2, x, y, ORVLS_IDO, 1, 0);
    orvls_d_regression(8, 2, x + 16, y + 8, ORVLS_IDO, 2, 0);
    print.add_owned(orvls_d_regression(8, 2, x + 32, y + 16, ORVLS_IDO, 3, ORVLS_COEF_COVARIANCES, &covariances, 0),
                    3);
    print.add_owned(covariances, 9);

    // Prediction keeps its t quantile per thread: two confidences in turn.
    orvls_d_regression_info* info = nullptr;
    std::free(orvls_d_regression(24, 2, x, y, ORVLS_REGRESSION_INFO, &info, 0));
    double lower[24], upper[24], leverage[24];
    for (double confidence : {95.0, 90.0, 95.0}) {
        print.add_owned(orvls_d_regression_prediction(info, 24, x, ORVLS_CONFIDENCE, confidence,
                                                      ORVLS_MEAN_LIMITS_USER, lower, upper, ORVLS_LEVERAGE_USER,
                                                      leverage, ORVLS_Y, y, 0),
                        24);
        print.add(lower, 24);
        print.add(upper, 24);
        print.add(leverage, 24);
    }
    std::free(info);
    return print.take();
}

// Stepwise selection one step per call, the open search living with its
// thread, then a best-subsets search.
std::string selection()
{
    Fingerprint print;
    double x[30 * 4], y[30];
    for (int i = 0; i < 30; ++i) {
        for (int j = 0; j < 4; ++j)
            x[4 * i + j] = std::sin(i * (0.7 + 0.3 * j) + j);
        y[i] = 2 * x[4 * i] - x[4 * i + 2] + std::cos(i * 2.3) / 5;
    }
    double t_tests[4 * 4], history[4];
    orvls_d_regression_stepwise(30, 4, x, y, ORVLS_FORWARD, ORVLS_FIRST_STEP, 0);
    orvls_d_regression_stepwise(30, 4, x, y, ORVLS_INTERMEDIATE_STEP, 0);
    orvls_d_regression_stepwise(30, 4, x, y, ORVLS_LAST_STEP, ORVLS_COEF_T_TESTS_USER, t_tests,
                                ORVLS_SWEEP_HISTORY_USER, history, 0);
    print.add(t_tests, 16);
    print.add(history, 4);
    int64_t index[5];
    double criterions[16];
    orvls_d_regression_selection(30, 4, x, y, ORVLS_MAX_N_BEST, 2, ORVLS_CRITERIONS_USER, index, criterions, 0);
    print.add(index, 5);
    print.add(criterions, index[4] > 0 && index[4] <= 16 ? index[4] : 0);
    return print.take();
}

// A local level filtered over a short series; the caller holds the state.
std::string kalman()
{
    Fingerprint print;
    const double z = 1, r = 1, t = 1, q = 0.25;
    double level = 0, level_var = 100, ss = 0, log_det = 0;
    int64_t n_rank = 0;
    for (int k = 0; k < 12; ++k) {
        const double y = 4 + std::sin(k * 0.9);
        orvls_d_kalman(1, &level, &level_var, &n_rank, &ss, &log_det, ORVLS_MEASUREMENT, 1, &y, &z, &r,
                       ORVLS_TRANSITION, &t, ORVLS_STATE_NOISE, &q, 0);
        print.add_value(level);
        print.add_value(level_var);
    }
    print.add_value(n_rank);
    print.add_value(ss);
    print.add_value(log_det);
    return print.take();
}

struct Family {
    const char* name;
    std::string (*run)();
};

const std::vector<Family> kFamilies = {
    {"errors", errors},     {"printing", printing},           {"streams", streams},
    {"uniform", uniform},   {"deviates", deviates},           {"special", special},
    {"distributions", distributions}, {"statistics", statistics}, {"categorical", categorical},
    {"network", network},   {"regression", regression},       {"kalman", kalman},
    {"selection", selection},
};
const int kCount = static_cast<int>(kFamilies.size());

std::string run_on_new_thread(const Family& family)
{
    std::string result;
    std::thread thread([&] { result = family.run(); });
    thread.join();
    return result;
}

// The families in an order that depends on `seed`: rotations, reversed for odd seeds.
std::vector<int> order(int seed)
{
    std::vector<int> indices(kCount);
    for (int i = 0; i < kCount; ++i)
        indices[i] = (i + seed) % kCount;
    if (seed % 2 == 1)
        std::reverse(indices.begin(), indices.end());
    return indices;
}

class ThreadEnd : public ::testing::TestWithParam<int> {
protected:
    void SetUp() override { orvls_skip_signal_handler(); }
};

// Every family first on the main thread, in one order; then a thread per
// family, in another, each using that family alone before it ends.
TEST_P(ThreadEnd, AfterTheMainThreadUsedEveryFamily)
{
    std::vector<std::string> main_results(kCount);
    for (int i : order(GetParam()))
        main_results[i] = kFamilies[i].run();
    for (int i : order(GetParam() + 3))
        EXPECT_TRUE(same(run_on_new_thread(kFamilies[i]), main_results[i])) << kFamilies[i].name;
}

// One family on the main thread (the others' keys made later, by threads);
// then each other family on a thread of its own that ends; the main thread's
// own results afterwards are the reference.
TEST_P(ThreadEnd, AfterTheMainThreadUsedOneFamily)
{
    const int first = GetParam();
    const std::string main_first = kFamilies[first].run();
    std::vector<std::string> thread_results(kCount);
    for (int i : order(first + 1)) {
        if (i != first)
            thread_results[i] = run_on_new_thread(kFamilies[i]);
    }
    EXPECT_TRUE(same(run_on_new_thread(kFamilies[first]), main_first)) << kFamilies[first].name;
    for (int i = 0; i < kCount; ++i) {
        if (i == first)
            continue;
        EXPECT_TRUE(same(thread_results[i], kFamilies[i].run())) << kFamilies[i].name;
    }
}

INSTANTIATE_TEST_SUITE_P(Orders, ThreadEnd, ::testing::Range(0, kCount));

// The first use of every family races on fresh threads: keys, once flags,
// first blocks and value tables are all made concurrently.
TEST(Threads, FirstUseOfEveryFamilyAtOnce)
{
    orvls_skip_signal_handler();
    std::vector<std::string> results(kCount);
    std::vector<std::thread> threads;
    for (int i = 0; i < kCount; ++i)
        threads.emplace_back([&results, i] { results[i] = kFamilies[i].run(); });
    for (std::thread& thread : threads)
        thread.join();
    for (int i = 0; i < kCount; ++i)
        EXPECT_TRUE(same(results[i], kFamilies[i].run())) << kFamilies[i].name;
}

// Every family at once, each on its own thread, several rounds.
TEST(Threads, AllFamiliesAtOnce)
{
    orvls_skip_signal_handler();
    std::vector<std::string> expected(kCount);
    for (int i = 0; i < kCount; ++i)
        expected[i] = kFamilies[i].run();
    for (int round = 0; round < 4; ++round) {
        std::vector<std::string> results(kCount);
        std::vector<std::thread> threads;
        for (int i : order(round))
            threads.emplace_back([&results, i] { results[i] = kFamilies[i].run(); });
        for (std::thread& thread : threads)
            thread.join();
        for (int i = 0; i < kCount; ++i)
            EXPECT_TRUE(same(results[i], expected[i])) << kFamilies[i].name << " in round " << round;
    }
}

}  // namespace
