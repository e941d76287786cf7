// Fuzz target: the option-list walk of the public routines.
//
// The bytes choose a routine, its positional arguments and up to kMaxOptions
// options: codes that the routine knows, with values of the kinds it reads
// (drawn from the bytes: any int, any double with NaN and the infinities,
// texts, _ADR pointers), and unknown codes, any int including negative ones.
// The harness always ends the list with 0: a list whose bytes run out is cut
// there, so no walk reads past what was passed.  Every pointer points into a
// buffer of this harness large enough for what the routine may touch given
// the extents in the call, so any fault is the library's.  The variadic call
// is built with libffi, which places each value as its type requires, so a
// list of any shape is a well-formed C call.
#include <ffi.h>
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "orvls.h"
#include "quiet_library.h"

namespace {

constexpr int kMaxOptions = 12;
constexpr int64_t kMaxExtent = 8;    // rows, columns, observations, variables
constexpr int kMaxRowLength = 24;    // values drawn for _COL_DIM options lie in -3..24
constexpr int64_t kMaxDeviates = 64;
constexpr int64_t kShuffleTable = 128;  // values of a saved shuffle table
constexpr int64_t kGfsrTable = 1565;     // words and taps of a saved shift register

// What an option's values are.
enum class Kind {
    none,
    integer,           // int
    row_length,        // int, a _COL_DIM value
    print_mode,        // int64_t
    real,              // double by value
    real_address,      // pointer to a real of the routine's precision
    input_array,       // pointer to values of the routine's element type; may be null
    user_array,        // pointer to an array the routine fills; may be null
    text,              // const char *, never null
    text_or_null,      // const char *
    labels,            // const char *const *; the array or an entry may be null
    text_result,       // char **; may be null
    stream,            // FILE *
    stream_result,     // FILE **
    integer64_result,  // int64_t *
    print_routine,     // orvls_print_routine or null
    type_and_result,   // int type, int64_t *
    type_and_value,    // int type, int value
    type_and_no_stop,  // int type, 0: a stop would end the process, as documented
    no_trapping,       // int 0: the guard would hide faults from the sanitizers
};

struct Option {
    int code;
    Kind kind;
};

enum class Element { real_float, real_double, integer64 };

enum class Routine {
    simple_statistics,
    write_matrix,
    error_options,
    output_file,
    constant,
    random_normal,
    random_uniform,
    random_gamma,
    sample_indices,
    table_get,
    gfsr_table_get,
};

struct Target {
    const char* name;
    void (*function)();
    Routine routine;
    Element element;
    std::vector<Option> options;
};

unsigned positional_count(Routine routine)
{
    switch (routine) {
    case Routine::simple_statistics:
        return 3;
    case Routine::write_matrix:
        return 4;
    case Routine::random_gamma:
    case Routine::sample_indices:
        return 2;
    case Routine::error_options:
    case Routine::output_file:
        return 0;
    default:
        return 1;
    }
}

ffi_type* result_type(const Target& target)
{
    switch (target.routine) {
    case Routine::simple_statistics:
    case Routine::random_normal:
    case Routine::random_uniform:
    case Routine::random_gamma:
    case Routine::sample_indices:
        return &ffi_type_pointer;
    case Routine::constant:
        return target.element == Element::real_float ? &ffi_type_float : &ffi_type_double;
    default:
        return &ffi_type_void;
    }
}

template <class F>
void (*entry(F* function))()
{
    return reinterpret_cast<void (*)()>(function);
}

const std::vector<Option> kStatisticsOptions = {
    {ORVLS_CONFIDENCE_MEANS, Kind::real},          {ORVLS_CONFIDENCE_MEANS_ADR, Kind::real_address},
    {ORVLS_CONFIDENCE_VARIANCES, Kind::real},      {ORVLS_CONFIDENCE_VARIANCES_ADR, Kind::real_address},
    {ORVLS_FREQUENCIES, Kind::input_array},        {ORVLS_WEIGHTS, Kind::input_array},
    {ORVLS_MEDIAN, Kind::none},                    {ORVLS_MEDIAN_AND_SCALE, Kind::none},
    {ORVLS_RETURN_USER, Kind::user_array},         {ORVLS_RETURN_COL_DIM, Kind::row_length},
    {ORVLS_X_COL_DIM, Kind::row_length},           {ORVLS_MISSING_LISTWISE, Kind::none},
    {ORVLS_MISSING_ELEMENTWISE, Kind::none},
};

const std::vector<Option> kMatrixOptions = {
    {ORVLS_A_COL_DIM, Kind::row_length}, {ORVLS_PRINT_ALL, Kind::none},      {ORVLS_TRIANGLE_M1, Kind::none},
    {ORVLS_TRIANGLE_M2, Kind::none},     {ORVLS_TRIANGLE_P1, Kind::none},    {ORVLS_TRIANGLE_P2, Kind::none},
    {ORVLS_ROW_STYLE_0, Kind::none},     {ORVLS_ROW_STYLE_1, Kind::none},    {ORVLS_ROW_LABELS, Kind::labels},
    {ORVLS_ROW_STYLE_3, Kind::none},     {ORVLS_COL_STYLE_0, Kind::none},    {ORVLS_COL_STYLE_1, Kind::none},
    {ORVLS_COL_LABELS, Kind::labels},    {ORVLS_COL_STYLE_3, Kind::none},    {ORVLS_TRANSPOSE, Kind::none},
    {ORVLS_WRITE_FORMAT, Kind::text_or_null}, {ORVLS_RETURN_STRING, Kind::text_result},
    {ORVLS_WRITE_TO_CONSOLE, Kind::none},
};

const std::vector<Option> kErrorOptions = {
    {ORVLS_ERROR_MSG_FILE_NAME, Kind::text},  {ORVLS_ERROR_MSG_PATH, Kind::text},
    {ORVLS_ERROR_PRINT_PROC, Kind::print_routine}, {ORVLS_FULL_TRACEBACK, Kind::integer},
    {ORVLS_GET_ERROR_FILE, Kind::stream_result},   {ORVLS_GET_PRINT, Kind::type_and_result},
    {ORVLS_GET_STOP, Kind::type_and_result},       {ORVLS_GET_TRACEBACK, Kind::type_and_result},
    {ORVLS_ERROR_FILE, Kind::stream},              {ORVLS_SET_PRINT, Kind::type_and_value},
    {ORVLS_SET_STOP, Kind::type_and_no_stop},      {ORVLS_SET_TRACEBACK, Kind::type_and_value},
    {ORVLS_SIGNAL_TRAPPING_OFF, Kind::none},       {ORVLS_SIGNAL_TRAPPING, Kind::no_trapping},
    {ORVLS_GET_PRINT_MODE, Kind::integer64_result}, {ORVLS_PRINT_MODE, Kind::print_mode},
};

const std::vector<Option> kStreamOptions = {
    {ORVLS_GET_ERROR_FILE, Kind::stream_result}, {ORVLS_GET_OUTPUT_FILE, Kind::stream_result},
    {ORVLS_ERROR_FILE, Kind::stream},            {ORVLS_OUTPUT_FILE, Kind::stream},
};

const std::vector<Option> kNormalOptions = {
    {ORVLS_RETURN_USER, Kind::user_array}, {ORVLS_MEAN, Kind::real},     {ORVLS_MEAN_ADR, Kind::real_address},
    {ORVLS_VARIANCE, Kind::real},          {ORVLS_VARIANCE_ADR, Kind::real_address},
    {ORVLS_ACCEPT_REJECT_METHOD, Kind::none},
};

const std::vector<Option> kReturnUserOnly = {{ORVLS_RETURN_USER, Kind::user_array}};

const std::vector<Target> kTargets = {
    {"orvls_d_simple_statistics", entry(orvls_d_simple_statistics), Routine::simple_statistics,
     Element::real_double, kStatisticsOptions},
    {"orvls_f_simple_statistics", entry(orvls_f_simple_statistics), Routine::simple_statistics,
     Element::real_float, kStatisticsOptions},
    {"orvls_d_write_matrix", entry(orvls_d_write_matrix), Routine::write_matrix, Element::real_double,
     kMatrixOptions},
    {"orvls_f_write_matrix", entry(orvls_f_write_matrix), Routine::write_matrix, Element::real_float,
     kMatrixOptions},
    {"orvls_i_write_matrix", entry(orvls_i_write_matrix), Routine::write_matrix, Element::integer64,
     kMatrixOptions},
    {"orvls_error_options", entry(orvls_error_options), Routine::error_options, Element::real_double,
     kErrorOptions},
    {"orvls_output_file", entry(orvls_output_file), Routine::output_file, Element::real_double, kStreamOptions},
    {"orvls_d_constant", entry(orvls_d_constant), Routine::constant, Element::real_double,
     {{ORVLS_UNIT, Kind::text_or_null}}},
    {"orvls_f_constant", entry(orvls_f_constant), Routine::constant, Element::real_float,
     {{ORVLS_UNIT, Kind::text_or_null}}},
    {"orvls_d_random_normal", entry(orvls_d_random_normal), Routine::random_normal, Element::real_double,
     kNormalOptions},
    {"orvls_f_random_normal", entry(orvls_f_random_normal), Routine::random_normal, Element::real_float,
     kNormalOptions},
    {"orvls_d_random_uniform", entry(orvls_d_random_uniform), Routine::random_uniform, Element::real_double,
     kReturnUserOnly},
    {"orvls_f_random_gamma", entry(orvls_f_random_gamma), Routine::random_gamma, Element::real_float,
     kReturnUserOnly},
    {"orvls_random_sample_indices", entry(orvls_random_sample_indices), Routine::sample_indices,
     Element::integer64, kReturnUserOnly},
    {"orvls_d_random_table_get", entry(orvls_d_random_table_get), Routine::table_get, Element::real_double,
     kReturnUserOnly},
    {"orvls_random_GFSR_table_get", entry(orvls_random_GFSR_table_get), Routine::gfsr_table_get,
     Element::integer64, kReturnUserOnly},
};

void silent_print(int64_t, int64_t, const char*, const char* message)
{
    // Touch the whole message, so that a bad one shows under the sanitizers.
    volatile std::size_t length = std::strlen(message);
    (void)length;
}

// One argument of the call, as libffi wants it.
union Word {
    int integer;
    int64_t integer64;
    double real;
    float real_float;
    const void* pointer;
};

std::size_t element_size(Element element) { return element == Element::real_float ? sizeof(float) : 8; }

// What the option list asked for, as far as the sizes of the caller's
// arrays depend on it: the last row length given for each matrix, and the
// rows of the statistics result.
struct Walk {
    int64_t x_col_dim = 0;       // 0: not given
    int64_t result_col_dim = 0;
    bool median = false;
    bool median_and_scale = false;
    bool transpose = false;
};

// The roles of the arrays whose sizes the whole list decides.
enum class Role { data_matrix, statistics_result, observation_values, deviates, row_labels, column_labels };

// The call under construction, and every buffer its pointers reach.  Each
// array is allocated with exactly the bytes that a correct caller passes,
// so that a read or write beyond them shows under AddressSanitizer.
class Call {
public:
    explicit Call(FuzzedDataProvider& data) : data_(data)
    {
        words_.reserve(kMaxWords);
        types_.reserve(kMaxWords);
        texts_.reserve(kMaxWords);
    }
    ~Call()
    {
        for (void* buffer : buffers_)
            std::free(buffer);
    }
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    void integer(int value) { push(&ffi_type_sint32).integer = value; }
    void integer64(int64_t value) { push(&ffi_type_sint64).integer64 = value; }
    void real(double value) { push(&ffi_type_double).real = value; }
    void real_float(float value) { push(&ffi_type_float).real_float = value; }
    void pointer(const void* value) { push(&ffi_type_pointer).pointer = value; }

    // A pointer whose array is made once the list is complete.
    void deferred_array(Role role, Element element)
    {
        deferred_.push_back({words_.size(), role, element});
        pointer(nullptr);
    }

    const char* text(std::size_t longest)
    {
        texts_.push_back(data_.ConsumeRandomLengthString(longest));
        return texts_.back().c_str();
    }

    // `count` elements, of which the first `filled` are drawn from the bytes.
    void* array(Element element, int64_t count, int64_t filled)
    {
        const std::size_t size = element_size(element);
        void* storage = std::calloc(static_cast<std::size_t>(std::max<int64_t>(count, 1)), size);
        buffers_.push_back(storage);
        for (int64_t i = 0; i < std::min(filled, count); ++i) {
            switch (element) {
            case Element::real_double:
                static_cast<double*>(storage)[i] = any_real();
                break;
            case Element::real_float:
                static_cast<float*>(storage)[i] = static_cast<float>(any_real());
                break;
            case Element::integer64:
                static_cast<int64_t*>(storage)[i] = data_.ConsumeIntegral<int64_t>();
                break;
            }
        }
        return storage;
    }

    // `count` labels, now and then a null one.
    const char* const* labels(int64_t count)
    {
        auto* set = static_cast<const char**>(std::calloc(static_cast<std::size_t>(std::max<int64_t>(count, 1)),
                                                          sizeof(const char*)));
        buffers_.push_back(set);
        for (int64_t i = 0; i < count; ++i)
            set[i] = data_.ConsumeIntegralInRange(0, 15) == 0 ? nullptr : text(40);
        return set;
    }

    // Makes the deferred arrays: `sizes` tells the elements each role needs.
    template <class Sizes>
    void make_deferred(Sizes sizes)
    {
        for (const Deferred& d : deferred_) {
            const int64_t count = sizes(d.role);
            const bool label_set = d.role == Role::row_labels || d.role == Role::column_labels;
            words_[d.word].pointer = label_set ? static_cast<const void*>(labels(count))
                                               : array(d.element, count, d.role == Role::deviates ? 0 : count);
        }
    }

    char** text_result() { return &text_result_; }
    FILE** stream_result() { return &stream_result_; }
    int64_t* integer64_result() { return &integer64_result_; }

    double any_real()
    {
        switch (data_.ConsumeIntegralInRange(0, 3)) {
        case 0:
            return data_.ConsumeFloatingPoint<double>();
        case 1:
            return data_.ConsumeIntegralInRange(-200, 200) / 4.0;
        case 2: {
            const uint64_t bits = data_.ConsumeIntegral<uint64_t>();
            double value;
            std::memcpy(&value, &bits, sizeof value);
            return value;
        }
        default:
            return data_.ConsumeProbability<double>();
        }
    }

    // Calls `function` with the words pushed, the first `fixed` of them
    // positional; a pointer result is kept.
    void run(void (*function)(), unsigned fixed, ffi_type* result_type)
    {
        ffi_cif cif;
        std::vector<void*> values;
        for (Word& word : words_)
            values.push_back(&word);
        if (ffi_prep_cif_var(&cif, FFI_DEFAULT_ABI, fixed, static_cast<unsigned>(types_.size()), result_type,
                             types_.data()) != FFI_OK)
            std::abort();
        alignas(16) unsigned char result[16] = {};
        ffi_call(&cif, function, result, values.data());
        if (result_type == &ffi_type_pointer)
            std::memcpy(&result_, result, sizeof result_);
    }

    // Frees what the routine allocated for the caller; a caller's array (one
    // of this harness's buffers) stays.
    void release_results(void* table)
    {
        std::free(text_result_);
        std::free(table);
        if (result_ != nullptr && std::find(buffers_.begin(), buffers_.end(), result_) == buffers_.end())
            std::free(result_);
    }

private:
    static constexpr std::size_t kMaxWords = 8 + 3 * kMaxOptions + 1;

    struct Deferred {
        std::size_t word;
        Role role;
        Element element;
    };

    Word& push(ffi_type* type)
    {
        if (words_.size() == kMaxWords)
            std::abort();
        types_.push_back(type);
        words_.push_back(Word{});
        return words_.back();
    }

    FuzzedDataProvider& data_;
    std::vector<Word> words_;
    std::vector<ffi_type*> types_;
    std::vector<std::string> texts_;
    std::vector<void*> buffers_;
    std::vector<Deferred> deferred_;
    char* text_result_ = nullptr;
    FILE* stream_result_ = nullptr;
    int64_t integer64_result_ = 0;
    void* result_ = nullptr;
};

int any_type(FuzzedDataProvider& data) { return data.ConsumeIntegralInRange(-1, 9); }

bool one_in_16(FuzzedDataProvider& data) { return data.ConsumeIntegralInRange(0, 15) == 0; }

// Notes what an option tells of the sizes of the caller's arrays.
void note(Walk& walk, int code, int value)
{
    switch (code) {
    case ORVLS_X_COL_DIM:
    case ORVLS_A_COL_DIM:
        walk.x_col_dim = value;
        break;
    case ORVLS_RETURN_COL_DIM:
        walk.result_col_dim = value;
        break;
    }
}

// The values of a known option.
void option_values(FuzzedDataProvider& data, const Option& option, const Target& target, Walk& walk, Call& call)
{
    const Element element = target.element;
    switch (option.kind) {
    case Kind::none:
        walk.median = walk.median || option.code == ORVLS_MEDIAN;
        walk.median_and_scale = walk.median_and_scale || option.code == ORVLS_MEDIAN_AND_SCALE;
        walk.transpose = walk.transpose || option.code == ORVLS_TRANSPOSE;
        return;
    case Kind::integer:
        return call.integer(data.ConsumeIntegral<int>());
    case Kind::row_length: {
        const int value = data.ConsumeIntegralInRange(-3, kMaxRowLength);
        note(walk, option.code, value);
        return call.integer(value);
    }
    case Kind::print_mode: {
        const int64_t modes[] = {ORVLS_PRINT_MODE_STREAM, ORVLS_PRINT_MODE_BOX, ORVLS_PRINT_MODE_CONSOLE};
        return call.integer64(data.ConsumeBool() ? data.PickValueInArray(modes) : data.ConsumeIntegral<int64_t>());
    }
    case Kind::real:
        return call.real(call.any_real());
    case Kind::real_address:
        return call.pointer(call.array(element, 1, 1));
    case Kind::input_array:
        return one_in_16(data) ? call.pointer(nullptr) : call.deferred_array(Role::observation_values, element);
    case Kind::user_array: {
        const Role role =
            target.routine == Routine::simple_statistics ? Role::statistics_result : Role::deviates;
        return one_in_16(data) ? call.pointer(nullptr) : call.deferred_array(role, element);
    }
    case Kind::text:
        return call.pointer(call.text(300));
    case Kind::text_or_null:
        return call.pointer(one_in_16(data) ? nullptr : call.text(300));
    case Kind::labels:
        if (one_in_16(data))
            return call.pointer(nullptr);
        return call.deferred_array(option.code == ORVLS_ROW_LABELS ? Role::row_labels : Role::column_labels,
                                   element);
    case Kind::text_result:
        return call.pointer(one_in_16(data) ? nullptr : call.text_result());
    case Kind::stream:
        return call.pointer(null_stream());
    case Kind::stream_result:
        return call.pointer(call.stream_result());
    case Kind::integer64_result:
        return call.pointer(call.integer64_result());
    case Kind::print_routine:
        return call.pointer(data.ConsumeBool() ? nullptr : reinterpret_cast<const void*>(silent_print));
    case Kind::type_and_result:
        call.integer(any_type(data));
        return call.pointer(call.integer64_result());
    case Kind::type_and_value:
        call.integer(any_type(data));
        return call.integer(data.ConsumeIntegral<int>());
    case Kind::type_and_no_stop:
        call.integer(any_type(data));
        return call.integer(0);
    case Kind::no_trapping:
        return call.integer(0);
    }
}

// The option list: known and unknown codes, then the 0 that ends it.  The
// first code of the utility routines is a positional argument; it is added
// here like the others.
void option_list(FuzzedDataProvider& data, const Target& target, Walk& walk, Call& call)
{
    const int count = data.ConsumeIntegralInRange(0, kMaxOptions);
    for (int i = 0; i < count && data.remaining_bytes() > 0; ++i) {
        if (data.ConsumeIntegralInRange(0, 7) == 0) {
            const int code = data.ConsumeIntegral<int>();
            if (code != 0)
                call.integer(code);
            continue;
        }
        const Option& option = target.options[data.ConsumeIntegralInRange<std::size_t>(0, target.options.size() - 1)];
        call.integer(option.code);
        option_values(data, option, target, walk, call);
    }
    call.integer(0);
}

// The elements a correct caller passes in each role.  A row length below
// what a row needs is the routine's to refuse; the caller passes rows of
// that length.
struct Extents {
    int64_t rows = 0;     // observations, or rows of the printed matrix
    int64_t columns = 0;  // variables, or its columns
    int64_t deviates = 0;
};

int64_t matrix_elements(int64_t rows, int64_t columns, int64_t row_length)
{
    const int64_t length = row_length > 0 ? row_length : columns;
    return std::max<int64_t>(rows, 0) * std::max<int64_t>(length, 0);
}

int64_t elements(Role role, const Target& target, const Extents& e, const Walk& walk)
{
    switch (role) {
    case Role::data_matrix:
        if (target.routine == Routine::write_matrix)
            return matrix_elements(e.rows, e.columns == 0 ? 1 : e.columns, walk.x_col_dim);
        return matrix_elements(e.rows, e.columns, walk.x_col_dim);
    case Role::statistics_result:
        return matrix_elements(walk.median_and_scale ? 17 : walk.median ? 15 : 14, e.columns, walk.result_col_dim);
    case Role::observation_values:
        return std::max<int64_t>(e.rows, 0);
    case Role::deviates:
        return std::max<int64_t>(e.deviates, 0);
    case Role::row_labels:
        return std::max<int64_t>(walk.transpose ? e.columns : e.rows, 0);
    case Role::column_labels:
        return std::max<int64_t>(walk.transpose ? e.rows : e.columns, 0);
    }
    return 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, std::size_t size)
{
    quiet_library();
    FuzzedDataProvider data(bytes, size);
    const Target& target = kTargets[data.ConsumeIntegralInRange<std::size_t>(0, kTargets.size() - 1)];
    Call call(data);
    Extents extents;
    void* table = nullptr;
    switch (target.routine) {
    case Routine::simple_statistics:
        extents.rows = data.ConsumeIntegralInRange<int64_t>(-1, kMaxExtent);
        extents.columns = data.ConsumeIntegralInRange<int64_t>(-1, kMaxExtent);
        call.integer64(extents.rows);
        call.integer64(extents.columns);
        call.deferred_array(Role::data_matrix, target.element);
        break;
    case Routine::write_matrix: {
        extents.rows = data.ConsumeIntegralInRange<int64_t>(-1, kMaxExtent);
        extents.columns = data.ConsumeIntegralInRange<int64_t>(-1, kMaxExtent);
        int64_t setting = data.ConsumeIntegralInRange<int64_t>(-3, 1100);
        orvls_write_options(-data.ConsumeIntegralInRange<int64_t>(1, 6), &setting);
        int64_t page = data.ConsumeIntegralInRange<int64_t>(8, 200);
        orvls_page(-data.ConsumeIntegralInRange<int64_t>(1, 2), &page);
        call.pointer(one_in_16(data) ? nullptr : call.text(300));
        call.integer64(extents.rows);
        call.integer64(extents.columns);
        call.deferred_array(Role::data_matrix, target.element);
        break;
    }
    case Routine::error_options:
    case Routine::output_file:
        break;
    case Routine::constant:
        call.pointer(call.text(20));
        break;
    case Routine::random_normal:
    case Routine::random_uniform:
        extents.deviates = data.ConsumeIntegralInRange<int64_t>(-1, kMaxDeviates);
        call.integer64(extents.deviates);
        break;
    case Routine::random_gamma:
        extents.deviates = data.ConsumeIntegralInRange<int64_t>(-1, kMaxDeviates);
        call.integer64(extents.deviates);
        call.real_float(static_cast<float>(call.any_real()));
        break;
    case Routine::sample_indices:
        extents.deviates = data.ConsumeIntegralInRange<int64_t>(-1, kMaxDeviates);
        call.integer64(extents.deviates);
        call.integer64(data.ConsumeIntegralInRange<int64_t>(-1, 1000000));
        break;
    case Routine::table_get:
    case Routine::gfsr_table_get:
        extents.deviates = target.routine == Routine::table_get ? kShuffleTable : kGfsrTable;
        call.pointer(&table);
        break;
    }
    const unsigned fixed = std::max(positional_count(target.routine), 1u);  // the utilities: the first code
    Walk walk;
    option_list(data, target, walk, call);
    call.make_deferred([&](Role role) { return elements(role, target, extents, walk); });
    call.run(target.function, fixed, result_type(target));
    call.release_results(table);
    // The print settings go back to their defaults.
    int64_t unused = 0;
    orvls_write_options(0, &unused);
    int64_t width = 78;
    int64_t length = 60;
    orvls_page(-1, &width);
    orvls_page(-2, &length);
    return 0;
}
