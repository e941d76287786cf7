// The message file: templates and symbolic names of error codes live in
// orvls_e.bin, found by search path at the first lookup.  Its index (header,
// code table, block table) is read once per process and the descriptor stays
// open; each thread reads the record it needs into its own buffer and keeps
// the last one, so that a report and its traceback cost one read.  Without
// the file, messages degrade to "Error code <n>." and names to the number.
#include "frame/message_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "frame/error_block.h"
#include "frame/memory.h"
#include "frame/tsd.h"

namespace orvls {

namespace {

constexpr char kFileName[] = "orvls_e.bin";
constexpr char kDefaultSearchPath[] = ".;$LIB;/lib;c:/lib";
constexpr std::size_t kListCapacity = 1024;  // the search list, and the path found
constexpr uint16_t kMagic = 29432;
constexpr int kHeaderWords = 7;
constexpr int64_t kCodeModulus = 100000;
constexpr int64_t kNoCode = -1;  // cached_code before a thread's first full read
constexpr int64_t kNotFound = -1;
constexpr int64_t kReadFailed = -2;  // an index whose record could not be read

enum : int32_t { kUnread = 0, kFailed = 1, kReady = 2 };

// Header words by position.
constexpr int kMessageCount = 2;
constexpr int kBlockShift = 6;

// Library-wide reader state, written once by read_index.
std::atomic<int32_t> message_file_state{kUnread};
int message_file_descriptor = -1;
uint16_t message_file_header[kHeaderWords];
uint16_t* code_table = nullptr;
uint16_t* block_table = nullptr;
off_t text_base = 0;
off_t message_file_size = 0;
const char* message_file_reason = "File not found";
bool swap_bytes = false;
std::size_t longest_read = 0;  // bytes of the largest record read: a record's blocks and one more

OnceFlag message_file_once{0};
pthread_mutex_t message_file_lock;

std::size_t message_count() { return message_file_header[kMessageCount]; }
unsigned block_shift() { return message_file_header[kBlockShift]; }

// Appends to a fixed buffer as far as it has room; the text stays terminated.
struct BoundedText {
    char* data;
    std::size_t capacity;
    std::size_t length;

    void append(const char* text, std::size_t count)
    {
        const std::size_t room = capacity - 1 - length;
        const std::size_t taken = count < room ? count : room;
        std::memcpy(data + length, text, taken);
        length += taken;
        data[length] = '\0';
    }
};

char* copy_text(const char* text)
{
    const std::size_t length = std::strlen(text) + 1;
    char* copy = allocate<char>(length);
    if (copy != nullptr)
        std::memcpy(copy, text, length);
    return copy;
}

// Each lookup records the file's name in the block, so that a name set
// through the options does not last.  One copy is kept.
void record_file_name(ErrorBlock* block)
{
    if (block->message_file_name != nullptr && std::strcmp(block->message_file_name, kFileName) == 0)
        return;
    if (char* copy = copy_text(kFileName)) {
        std::free(block->message_file_name);
        block->message_file_name = copy;
    }
}

// The path set through the options, else ORVLSERRPATH (kept in the block),
// else the default.
const char* search_path(ErrorBlock* block)
{
    if (block->message_search_path != nullptr)
        return block->message_search_path;
    const char* variable = std::getenv("ORVLSERRPATH");
    if (variable == nullptr)
        return kDefaultSearchPath;
    BoundedText copy{block->path_buffer, sizeof block->path_buffer, 0};
    copy.append(variable, std::strlen(variable));
    block->message_search_path = copy_text(block->path_buffer);
    return block->path_buffer;
}

// The search list: the items of `path` parted by ";", each "$NAME" replaced
// by the variable's value, or dropped with its separator when it is unset.
void build_search_list(const char* path, char* list)
{
    BoundedText out{list, kListCapacity, 0};
    list[0] = '\0';
    bool first = true;
    for (const char* item = path; item != nullptr;) {
        const char* end = std::strchr(item, ';');
        const std::size_t length = end != nullptr ? static_cast<std::size_t>(end - item) : std::strlen(item);
        const char* text = item;
        std::size_t text_length = length;
        if (item[0] == '$') {
            char name[kListCapacity];
            BoundedText variable{name, sizeof name, 0};
            variable.append(item + 1, length - 1);
            text = std::getenv(name);
            text_length = text != nullptr ? std::strlen(text) : 0;
        }
        if (text != nullptr) {
            if (!first)
                out.append(";", 1);
            out.append(text, text_length);
            first = false;
        }
        item = end != nullptr ? end + 1 : nullptr;
    }
}

// The first directory of the list that holds the file as a regular file.
bool find_file(const char* list, char* found)
{
    for (const char* item = list; item != nullptr;) {
        const char* end = std::strchr(item, ';');
        const int length = static_cast<int>(end != nullptr ? end - item : std::strlen(item));
        struct stat status;
        const int written = std::snprintf(found, kListCapacity, "%.*s/%s", length, item, kFileName);
        if (length > 0 && written < static_cast<int>(kListCapacity) && stat(found, &status) == 0 &&
            S_ISREG(status.st_mode))
            return true;
        item = end != nullptr ? end + 1 : nullptr;
    }
    return false;
}

// Reads exactly `bytes` bytes unless the file ends first.
bool read_fully(int descriptor, void* buffer, std::size_t bytes)
{
    auto* at = static_cast<char*>(buffer);
    while (bytes > 0) {
        const ssize_t got = read(descriptor, at, bytes);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return false;
        at += got;
        bytes -= static_cast<std::size_t>(got);
    }
    return true;
}

// A file written on a machine of the other byte order shows its magic swapped.
bool read_header()
{
    if (!read_fully(message_file_descriptor, message_file_header, sizeof message_file_header))
        return false;
    if (message_file_header[0] != kMagic) {
        uint16_t raw[kHeaderWords];
        std::memcpy(raw, message_file_header, sizeof raw);
        uint16_t magic;
        swab(raw, &magic, sizeof magic);
        if (magic != kMagic) {
            message_file_reason = "File is not in orvlerr.bin format";
            return false;
        }
        swab(raw, message_file_header, sizeof raw);
        swap_bytes = true;
    }
    if (block_shift() > 31) {
        message_file_reason = "File is not in orvlerr.bin format";
        return false;
    }
    return true;
}

// Reads `words` 16-bit words into `table`, through a work array of n + 1
// words when their bytes must be swapped.
bool read_table(uint16_t* table, std::size_t words)
{
    const std::size_t bytes = words * sizeof(uint16_t);
    if (!swap_bytes)
        return read_fully(message_file_descriptor, table, bytes);
    WorkArray<uint16_t> raw(message_count() + 1);
    if (!raw.ok()) {
        message_file_reason = "Out-of-space";
        return false;
    }
    if (!read_fully(message_file_descriptor, raw.get(), bytes))
        return false;
    swab(raw.get(), table, static_cast<ssize_t>(bytes));
    return true;
}

bool read_tables()
{
    const std::size_t n = message_count();
    code_table = allocate<uint16_t>(n);
    block_table = allocate<uint16_t>(n + 1);
    if (code_table == nullptr || block_table == nullptr) {
        message_file_reason = "Out-of-space";
        return false;
    }
    return read_table(code_table, n) && read_table(block_table, n + 1);
}

// Start from 4n + 15 and, with blocks longer than one byte, move on by the
// block size less the remainder.
void compute_text_base()
{
    const off_t block_size = off_t{1} << block_shift();
    text_base = 4 * static_cast<off_t>(message_count()) + 15;
    if (block_size != 1)
        text_base += block_size - text_base % block_size;
}

off_t record_offset(std::size_t i) { return text_base + (off_t{block_table[i]} << block_shift()); }

// A record's blocks and the one behind them.
std::size_t record_read_length(std::size_t i)
{
    return std::size_t{block_table[i + 1] - block_table[i] + 1u} << block_shift();
}

// Whether the read of record i ends within the file; one that does not
// would come back short, so it needs no room.
bool record_within_file(std::size_t i)
{
    return record_offset(i) + static_cast<off_t>(record_read_length(i)) <= message_file_size;
}

// The text buffer of a thread must hold the largest read; block numbers that
// go backwards would make a read of negative length.  Only reads within the
// file count, so that a damaged block table cannot ask for more memory than
// the file holds.
bool measure_records()
{
    compute_text_base();
    longest_read = 0;
    for (std::size_t i = 0; i < message_count(); ++i) {
        if (block_table[i + 1] < block_table[i]) {
            message_file_reason = "File is not in orvlerr.bin format";
            return false;
        }
        if (record_within_file(i) && record_read_length(i) > longest_read)
            longest_read = record_read_length(i);
    }
    return true;
}

bool open_file(ErrorBlock* block)
{
    char list[kListCapacity];
    char found[kListCapacity];
    build_search_list(search_path(block), list);
    if (!find_file(list, found))
        return false;
    message_file_descriptor = open(found, O_RDONLY);
    struct stat status;
    if (message_file_descriptor < 0 || fstat(message_file_descriptor, &status) != 0)
        return false;
    message_file_size = status.st_size;
    return true;
}

void forget_file()
{
    if (message_file_descriptor >= 0)
        close(message_file_descriptor);
    message_file_descriptor = -1;
    std::free(code_table);
    std::free(block_table);
    code_table = nullptr;
    block_table = nullptr;
}

// Told once, on the standard error stream; in message-box mode with the
// program's name as a caption line.  The mode is read from the block rather
// than through the options routine, whose push and pop would disturb the
// state of the routine now raising an error.
void report_failure(const ErrorBlock* block)
{
    orvls_output_lock(stderr);
    if (block->print_mode == ORVLS_PRINT_MODE_BOX)
        std::fprintf(stderr, "%s\n", program_invocation_short_name);
    std::fprintf(stderr, "Error in reading %s\n%s.\n", kFileName, message_file_reason);
    std::fflush(stderr);
    orvls_output_unlock(stderr);
}

// Run once for the process, under the once flag.
void read_index()
{
    make_lock(&message_file_lock, false);
    ErrorBlock* block = orvls_error_block();
    if (open_file(block) && read_header() && read_tables() && measure_records()) {
        message_file_state.store(kReady);
        return;
    }
    forget_file();
    report_failure(block);
    message_file_state.store(kFailed);
}

int compare_codes(const void* a, const void* b)
{
    uint16_t x;
    uint16_t y;
    std::memcpy(&x, a, sizeof x);
    std::memcpy(&y, b, sizeof y);
    return (x > y) - (x < y);
}

// The position of `code` in the code table, compared on 16 bits after the
// modulo, or kNotFound.
int64_t find_index(ErrorBlock* block, int64_t code)
{
    record_file_name(block);
    orvls_once(&message_file_once, read_index);
    if (message_file_state.load() != kReady)
        return kNotFound;
    const auto key = static_cast<uint16_t>(code % kCodeModulus);
    const void* found = std::bsearch(&key, code_table, message_count(), sizeof key, compare_codes);
    return found == nullptr ? kNotFound : static_cast<const uint16_t*>(found) - code_table;
}

bool holds(const ErrorBlock* block, int64_t code) { return code == block->cached_code && code != kNoCode; }

void failed_read(ErrorBlock* block, const char* reason)
{
    block->read_failure = reason;
    block->cached_index = kReadFailed;
}

// Reads the record of the cached index into the thread's text buffer.  The
// buffer is made on the thread's first read; two zero bytes behind the read
// keep the template and the name terminated whatever the file holds.  A
// record whose read would pass the end of the file is a short read.
void read_record(ErrorBlock* block, int64_t code)
{
    if (!record_within_file(static_cast<std::size_t>(block->cached_index)))
        return;
    if (block->text_buffer == nullptr) {
        block->text_buffer = allocate<char>(longest_read + 2);
        if (block->text_buffer == nullptr)
            return failed_read(block, "Out-of-memory");
    }
    const auto i = static_cast<std::size_t>(block->cached_index);
    const off_t offset = record_offset(i);
    const std::size_t length = record_read_length(i);
    // The buffer is about to change: the record it held is no longer in hand.
    block->cached_code = kNoCode;
    bool complete;
    {
        LockGuard hold(&message_file_lock);
        if (lseek(message_file_descriptor, offset, SEEK_SET) != offset)
            return failed_read(block, "Cannot seek to correct location");
        complete = read_fully(message_file_descriptor, block->text_buffer, length);
    }
    if (!complete)
        return;
    block->text_buffer[length] = '\0';
    block->text_buffer[length + 1] = '\0';
    block->cached_code = code;
}

const char* fallback(ErrorBlock* block, int64_t code)
{
    std::snprintf(block->fallback_text, sizeof block->fallback_text, "Error code %ld.", static_cast<long>(code));
    return block->fallback_text;
}

}  // namespace

void forget_message_file()
{
    if (message_file_once.load() != 0)
        pthread_mutex_destroy(&message_file_lock);
    forget_file();
    message_file_state.store(kUnread);
    message_file_reason = "File not found";
    swap_bytes = false;
    longest_read = 0;
    message_file_once.store(0);
    ErrorBlock* block = orvls_error_block();
    std::free(block->text_buffer);
    block->text_buffer = nullptr;
    block->cached_code = kNoCode;
}

const char* orvls_message_text(int64_t code)
{
    ErrorBlock* block = orvls_error_block();
    if (holds(block, code))
        return block->text_buffer;
    block->cached_index = find_index(block, code);
    if (block->cached_index == kNotFound)
        return fallback(block, code);
    read_record(block, code);
    if (holds(block, code))
        return block->text_buffer;
    if (block->cached_index != kReadFailed)
        return fallback(block, code);
    // The file cannot serve this thread: say why in the message, and let
    // every later lookup fall back at once.
    std::snprintf(block->fallback_text, sizeof block->fallback_text, "Error in reading %s for error message %d.\n%s.\n",
                  kFileName, static_cast<int>(code), block->read_failure);
    message_file_state.store(kFailed);
    return block->fallback_text;
}

const char* orvls_code_name(int64_t code)
{
    ErrorBlock* block = orvls_error_block();
    const char* text = orvls_message_text(code);
    if (message_file_state.load() == kReady && text == block->text_buffer)
        std::snprintf(block->code_name, sizeof block->code_name, "%s", text + std::strlen(text) + 1);
    else
        std::snprintf(block->code_name, sizeof block->code_name, "%ld", static_cast<long>(code));
    return block->code_name;
}

}  // namespace orvls
