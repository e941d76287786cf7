// orvls_error_options: the public way to set the error settings of the
// calling thread, and the library-wide signal-trapping flag.
#include <cstdarg>
#include <cstring>

#include "frame/envelope.h"
#include "frame/options.h"
#include "frame/tsd.h"

namespace orvls {

namespace {

OnceFlag signal_flag_once{0};
pthread_mutex_t signal_flag_lock;
void make_signal_flag_lock() { make_lock(&signal_flag_lock, false); }

// Replaces an owned text of the block with a copy of `text`; a copy that
// cannot be made is reported and leaves the setting as it was.
void replace_text(char** setting, const char* text)
{
    const std::size_t length = std::strlen(text) + 1;
    auto* copy = static_cast<char*>(orvls_malloc(length));
    if (copy == nullptr) {
        orvls_ermes(5, 200);
        return;
    }
    std::memcpy(copy, text, length);
    std::free(*setting);
    *setting = copy;
}

// Types readable and settable through the options: 1 to 7.  The report
// names 5 as the upper bound, as it always has.
bool settable_type(int type)
{
    if (type >= 1 && type < 8)
        return true;
    orvls_e1sti(1, 1);
    orvls_e1sti(2, 5);
    orvls_e1sti(3, type);
    orvls_e1stl(1, "type");
    orvls_ermes(5, 132);
    return false;
}

void get_setting(OptionReader& options, const int8_t* table)
{
    const int type = options.integer();
    auto* value = options.pointer<int64_t*>();
    if (settable_type(type))
        *value = table[type];
}

void set_setting(OptionReader& options, int8_t* table)
{
    const int type = options.integer();
    const int value = options.integer();
    if (settable_type(type))
        table[type] = static_cast<int8_t>(value);
}

void error_options(ErrorBlock* block, int first_code, OptionReader& options)
{
    int code = first_code;
    bool more = first_code > 0;
    if (first_code < 0)
        options.unknown(first_code);
    while (more) {
        switch (code) {
        case ORVLS_ERROR_MSG_FILE_NAME:
            replace_text(&block->message_file_name, options.pointer<const char*>());
            break;
        case ORVLS_ERROR_MSG_PATH:
            replace_text(&block->message_search_path, options.pointer<const char*>());
            break;
        case ORVLS_ERROR_PRINT_PROC: {
            PrintRoutine routine = options.pointer<PrintRoutine>();
            block->print_routine = routine != nullptr ? routine : default_print_routine;
            break;
        }
        case ORVLS_FULL_TRACEBACK:
            block->full_traceback = options.integer();
            break;
        case ORVLS_GET_ERROR_FILE:
            orvls_umach(3, options.pointer<FILE**>());
            break;
        case ORVLS_GET_PRINT:
            get_setting(options, block->print_table);
            break;
        case ORVLS_GET_STOP:
            get_setting(options, block->stop_table);
            break;
        case ORVLS_GET_TRACEBACK:
            get_setting(options, block->trace_table);
            break;
        case ORVLS_ERROR_FILE: {
            FILE* stream = options.pointer<FILE*>();
            orvls_umach(-3, &stream);
            break;
        }
        case ORVLS_SET_PRINT:
            set_setting(options, block->print_table);
            break;
        case ORVLS_SET_STOP:
            set_setting(options, block->stop_table);
            break;
        case ORVLS_SET_TRACEBACK:
            set_setting(options, block->trace_table);
            break;
        case ORVLS_SIGNAL_TRAPPING_ON:
            set_signal_trapping(1);
            break;
        case ORVLS_SIGNAL_TRAPPING_OFF:
            set_signal_trapping(0);
            break;
        case ORVLS_SIGNAL_TRAPPING:
            set_signal_trapping(options.integer());
            break;
        case ORVLS_GET_PRINT_MODE:
            *options.pointer<int64_t*>() = block->print_mode;
            break;
        case ORVLS_PRINT_MODE: {
            const int64_t mode = options.integer64();
            const bool known = mode == ORVLS_PRINT_MODE_BOX || mode == ORVLS_PRINT_MODE_CONSOLE;
            block->print_mode = known ? mode : ORVLS_PRINT_MODE_STREAM;
            block->print_routine = print_routine_for_mode(block->print_mode);
            break;
        }
        default:
            options.unknown(code);
        }
        more = options.next(code);
    }
}

}  // namespace

void set_signal_trapping(int32_t value)
{
    orvls_once(&signal_flag_once, make_signal_flag_lock);
    LockGuard hold(&signal_flag_lock);
    signal_trapping.store(value, std::memory_order_relaxed);
    hand_back_signals();
}

}  // namespace orvls

using namespace orvls;

extern "C" ORVLS_API void orvls_error_options(int code, ...)
{
    ErrorBlock* block = orvls_error_block();
    va_list ap;
    va_start(ap, code);
    OptionReader options(ap, 1, UnknownCode::utility_stop);
    envelope("orvls_error_options", [&] { error_options(block, code, options); });
    va_end(ap);
}
