// The library's reader of the message file.  The index is read once per
// process, so every case that looks a message up runs in a child process
// that sets its environment before the first lookup; the child exits 0 when
// all its checks held and tells each failure on standard error.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <functional>
#include <iostream>
#include <regex>
#include <set>
#include <string>
#include <thread>

#include "capture.h"
#include "catalogue.h"
#include "frame/error_block.h"
#include "frame/memory.h"
#include "frame/message_file.h"

namespace {

namespace fs = std::filesystem;

const std::string binary_dir = ORVLS_BINARY_DIR;
const std::string native_file = binary_dir + "/orvls_e.bin";
const std::string swapped_file = binary_dir + "/orvls_e_swapped.bin";

// Words of a message file in this machine's byte order.
uint16_t word_at(const std::string& file, std::size_t offset)
{
    uint16_t word;
    std::memcpy(&word, file.data() + offset, sizeof word);
    return word;
}
void put_word(std::string& file, std::size_t offset, uint16_t word)
{
    std::memcpy(file.data() + offset, &word, sizeof word);
}

// A directory of its own holding a message file under the library's name.
class MessageDir {
public:
    explicit MessageDir(const std::string& contents)
    {
        char name[] = "/tmp/orvls_reader_XXXXXX";
        path_ = mkdtemp(name);
        if (!contents.empty())
            std::ofstream(path_ + "/orvls_e.bin", std::ios::binary) << contents;
    }
    ~MessageDir() { fs::remove_all(path_); }
    MessageDir(const MessageDir&) = delete;
    MessageDir& operator=(const MessageDir&) = delete;
    const std::string& path() const { return path_; }

private:
    std::string path_;
};

// Checks made in a child; each failure is written to standard error.
class Checks {
public:
    template <class A, class B>
    void equal(const A& actual, const B& expected, const std::string& what)
    {
        if (actual == expected)
            return;
        std::cerr << what << ": got \"" << actual << "\", expected \"" << expected << "\"\n";
        failed_ = true;
    }
    void that(bool condition, const std::string& what)
    {
        if (!condition) {
            std::cerr << what << "\n";
            failed_ = true;
        }
    }
    bool failed() const { return failed_; }

private:
    bool failed_ = false;
};

[[noreturn]] void in_child(const std::function<void(Checks&)>& body)
{
    Checks checks;
    body(checks);
    std::exit(checks.failed() ? 1 : 0);
}

// The child must pass its checks and write exactly `error_output` on stderr.
void expect_child(const std::function<void(Checks&)>& body, const std::string& error_output)
{
    EXPECT_EXIT(in_child(body), ::testing::ExitedWithCode(0), ::testing::Matcher<const std::string&>(error_output));
}

void use_path(const std::string& path) { setenv("ORVLSERRPATH", path.c_str(), 1); }

std::string text_of(int64_t code) { return orvls::orvls_message_text(code); }
std::string name_of(int64_t code) { return orvls::orvls_code_name(code); }

void expect_catalogue(Checks& checks)
{
    const auto catalogue = catalogue_by_code();
    checks.that(catalogue.size() > 100, "the catalogue is read");
    for (const auto& [code, entry] : catalogue) {
        checks.equal(text_of(code), entry.text, "text of " + std::to_string(code));
        checks.equal(name_of(code), entry.name, "name of " + std::to_string(code));
    }
}

std::string compile_catalogue(const std::string& options)
{
    const std::string output = binary_dir + "/test_reader_messages.bin";
    EXPECT_EQ(compile_messages(output, options), 0);
    return read_file(output);
}

// Every record is read, so the longest read shows any overflow of the text
// buffer under AddressSanitizer; block shifts 0 and 7 take both branches of
// the text-base rule.
TEST(Reader, EveryFileLayoutGivesTheCatalogue)
{
    const struct {
        const char* what;
        std::string contents;
    } files[] = {
        {"native", read_file(native_file)},
        {"swapped", read_file(swapped_file)},
        {"one-byte blocks", compile_catalogue("--shift 0")},
        {"128-byte blocks, swapped", compile_catalogue("--shift 7 --swap")},
    };
    for (const auto& file : files) {
        SCOPED_TRACE(file.what);
        MessageDir dir(file.contents);
        expect_child(
            [&](Checks& checks) {
                use_path(dir.path());
                expect_catalogue(checks);
            },
            "");
    }
}

TEST(Reader, CodesAreTakenModulo100000On16Bits)
{
    expect_child(
        [](Checks& checks) {
            use_path(binary_dir);
            const auto catalogue = catalogue_by_code();
            checks.equal(text_of(100160), catalogue.at(160).text, "100160 is 160");
            checks.equal(name_of(100160), catalogue.at(160).name, "name of 100160");
            checks.equal(text_of(65536 + 9001), catalogue.at(9001).text, "74537 is 9001 on 16 bits");
            checks.equal(name_of(65536 + 9001), catalogue.at(9001).name, "name of 74537");
            checks.equal(text_of(1), std::string("Error code 1."), "absent code");
            checks.equal(name_of(1), std::string("1"), "name of an absent code");
            checks.equal(text_of(70000), std::string("Error code 70000."), "70000 is 4464, absent");
        },
        "");
}

// With no file the library tells it once and goes on with numbers.
void expect_degraded_library(Checks& checks)
{
    checks.equal(text_of(160), std::string("Error code 160."), "text without a file");
    checks.equal(name_of(160), std::string("160"), "name without a file");
    ErrorCapture capture;
    for (int round = 0; round < 2; ++round) {
        orvls_e1psh("orvls_reader_test");
        orvls_e1sti(1, 3);
        orvls_ermes(ORVLS_WARNING, 601);
        orvls_e1pop("orvls_reader_test");
        checks.that(last_outcome() == Outcome{3, 601}, "the error is recorded");
    }
    const std::string report = "\n*** WARNING  Error ORVLS_601 from orvls_reader_test.  Error code 601.\n\n";
    checks.equal(capture.text(), report + report, "reports without a file");
}

TEST(Reader, MissingFileIsToldOnceAndMessagesDegrade)
{
    MessageDir empty("");
    expect_child(
        [&](Checks& checks) {
            use_path(empty.path());
            expect_degraded_library(checks);
        },
        "Error in reading orvls_e.bin\nFile not found.\n");

    // In message-box mode the program's name heads the text.
    expect_child(
        [&](Checks& checks) {
            use_path(empty.path());
            orvls_error_options(ORVLS_PRINT_MODE, int64_t{ORVLS_PRINT_MODE_BOX}, 0);
            checks.equal(text_of(160), std::string("Error code 160."), "text without a file");
        },
        std::string(program_invocation_short_name) + "\nError in reading orvls_e.bin\nFile not found.\n");
}

TEST(Reader, ForeignFilesAreRefused)
{
    MessageDir garbage(std::string(200, 'x'));
    expect_child(
        [&](Checks& checks) {
            use_path(garbage.path());
            expect_degraded_library(checks);
        },
        "Error in reading orvls_e.bin\nFile is not in orvlerr.bin format.\n");

    // A file too short for its header keeps the reason that stood.
    MessageDir stub("\xf8\x72\x01");
    expect_child(
        [&](Checks& checks) {
            use_path(stub.path());
            checks.equal(text_of(160), std::string("Error code 160."), "text from a stub");
        },
        "Error in reading orvls_e.bin\nFile not found.\n");

    // Block numbers that go backwards would make a read of negative length.
    std::string backwards = read_file(native_file);
    const std::size_t blocks = 14 + 2 * std::size_t{word_at(backwards, 4)};
    put_word(backwards, blocks, 0x7f7f);
    put_word(backwards, blocks + 2, 0);
    MessageDir disordered(backwards);
    expect_child(
        [&](Checks& checks) {
            use_path(disordered.path());
            checks.equal(text_of(102), std::string("Error code 102."), "text from a disordered file");
        },
        "Error in reading orvls_e.bin\nFile is not in orvlerr.bin format.\n");
}

TEST(Reader, SearchPathItemsAreExpandedInOrder)
{
    MessageDir good(read_file(native_file));
    MessageDir bad(std::string(200, 'x'));
    MessageDir empty("");
    const std::string found = catalogue_by_code().at(160).text;
    // An unset variable is dropped; a set one stands for its value.
    expect_child(
        [&](Checks& checks) {
            unsetenv("ORVLS_TEST_UNSET");
            setenv("ORVLS_TEST_GOOD", (empty.path() + ";" + good.path()).c_str(), 1);
            use_path("$ORVLS_TEST_UNSET;/nonexistent;$ORVLS_TEST_GOOD;" + bad.path());
            checks.equal(text_of(160), found, "found through the variable");
        },
        "");
    // The first directory holding the file wins, though a later one is better.
    expect_child(
        [&](Checks& checks) {
            setenv("ORVLS_TEST_BAD", bad.path().c_str(), 1);
            use_path("$ORVLS_TEST_UNSET;$ORVLS_TEST_BAD;" + good.path());
            checks.equal(text_of(160), std::string("Error code 160."), "the bad file comes first");
        },
        "Error in reading orvls_e.bin\nFile is not in orvlerr.bin format.\n");
    // A path longer than the block's copy of it is cut at 259 characters.
    expect_child(
        [&](Checks& checks) {
            use_path(good.path() + ";/" + std::string(300, 'p'));
            checks.equal(text_of(160), found, "found in a long path");
            const orvls::ErrorBlock* block = orvls::existing_error_block();
            checks.equal(std::string(block->message_search_path),
                         (good.path() + ";/" + std::string(300, 'p')).substr(0, 259), "the path kept");
        },
        "");
}

TEST(Reader, PathOptionComesBeforeTheVariable)
{
    MessageDir good(read_file(native_file));
    MessageDir bad(std::string(200, 'x'));
    expect_child(
        [&](Checks& checks) {
            use_path(bad.path());
            orvls_error_options(ORVLS_ERROR_MSG_PATH, good.path().c_str(), ORVLS_ERROR_MSG_FILE_NAME, "other.bin", 0);
            checks.equal(text_of(160), catalogue_by_code().at(160).text, "found through the option");
            // The name set through the options does not last.
            checks.equal(std::string(orvls::existing_error_block()->message_file_name), std::string("orvls_e.bin"),
                         "the file name");
        },
        "");
}

// A thread that raises nothing reads nothing; its first error makes its buffer.
TEST(Reader, TextBufferComesWithTheFirstRead)
{
    expect_child(
        [](Checks& checks) {
            use_path(binary_dir);
            orvls_skip_signal_handler();
            text_of(160);
            bool idle_has_buffer = true;
            bool raising_has_buffer = false;
            std::thread([&] {
                orvls_n1rty(1);
                idle_has_buffer = orvls::existing_error_block()->text_buffer != nullptr;
                orvls_e1psh("orvls_reader_test");
                orvls_ermes(ORVLS_NOTE, 160);
                orvls_e1pop("orvls_reader_test");
                raising_has_buffer = orvls::existing_error_block()->text_buffer != nullptr;
            }).join();
            checks.that(!idle_has_buffer, "a thread without errors has a text buffer");
            checks.that(raising_has_buffer, "a thread with an error has no text buffer");
        },
        "");
}

// A mark in the buffer survives a second lookup of the same code, and only that.
TEST(Reader, SameCodeTwiceCostsOneRead)
{
    expect_child(
        [](Checks& checks) {
            use_path(binary_dir);
            const auto catalogue = catalogue_by_code();
            text_of(160);
            orvls::ErrorBlock* block = orvls::existing_error_block();
            checks.equal(block->cached_code, int64_t{160}, "cached code");
            block->text_buffer[0] = '#';
            checks.equal(text_of(160), "#" + catalogue.at(160).text.substr(1), "second lookup");
            checks.equal(name_of(160), catalogue.at(160).name, "name from the cache");
            text_of(200);
            checks.equal(text_of(160), catalogue.at(160).text, "read again after another code");
        },
        "");
}

// Without the spare block behind it the last record reads short: its code
// falls back, and the record read before it is not taken from the spoilt buffer.
TEST(Reader, ShortReadFallsBack)
{
    std::string contents = read_file(native_file);
    contents.resize(contents.size() - (std::size_t{1} << word_at(contents, 12)));
    MessageDir cut(contents);
    expect_child(
        [&](Checks& checks) {
            use_path(cut.path());
            const auto catalogue = catalogue_by_code();
            const unsigned first = catalogue.begin()->first;
            const unsigned last = catalogue.rbegin()->first;
            checks.equal(text_of(first), catalogue.at(first).text, "first record");
            checks.equal(text_of(last), "Error code " + std::to_string(last) + ".", "cut record");
            checks.equal(name_of(last), std::to_string(last), "name of the cut record");
            checks.equal(text_of(first), catalogue.at(first).text, "first record again");
        },
        "");
}

// A block table may claim records far beyond the end of the file: they read
// short, before a text buffer is sized to the claim (a fuzzed file of 66
// bytes once asked for 118 GB, and failed as out of memory).
TEST(Reader, RecordsBeyondTheFileReadShort)
{
    // Two messages in blocks of 2^31 bytes: their reads claim 2^32 and 2^47 bytes.
    const uint16_t words[] = {29432, 0, 2, 0, 8, 8, 31, 103, 601, 0, 1, 65535};
    std::string contents(64, '\0');
    for (std::size_t i = 0; i < std::size(words); ++i)
        put_word(contents, 2 * i, words[i]);
    MessageDir dir(contents);
    expect_child(
        [&](Checks& checks) {
            use_path(dir.path());
            checks.equal(text_of(601), std::string("Error code 601."), "record claiming 2^47 bytes");
            checks.equal(text_of(103), std::string("Error code 103."), "record claiming 2^32 bytes");
            checks.equal(name_of(601), std::string("601"), "its name");
            checks.that(orvls::existing_error_block()->text_buffer == nullptr, "a text buffer was made");
        },
        "");
}

TEST(Reader, NoRoomForTheTextIsToldInTheMessage)
{
    expect_child(
        [](Checks& checks) {
            use_path(binary_dir);
            text_of(1);  // reads the index
            orvls_testing_fail_allocation(1);
            checks.equal(text_of(160),
                         std::string("Error in reading orvls_e.bin for error message 160.\nOut-of-memory.\n"),
                         "text when the buffer cannot be had");
            checks.equal(text_of(160), std::string("Error code 160."), "the file is given up");
            checks.equal(name_of(102), std::string("102"), "names are numbers");
        },
        "");
}

TEST(Reader, ReportShowsTheNameAndTheTemplate)
{
    expect_child(
        [](Checks& checks) {
            use_path(binary_dir);
            ErrorCapture capture;
            orvls_error_options(ORVLS_SET_TRACEBACK, ORVLS_WARNING, 1, 0);
            orvls_e1psh("orvls_reader_test");
            orvls_e1stl(1, "nobs");
            orvls_e1sti(1, 0);
            orvls_e1sti(2, 1);
            orvls_e1sti(3, 9);
            orvls_ermes(ORVLS_WARNING, 602);
            orvls_e1pop("orvls_reader_test");
            // Continuation lines joined again.
            const std::string report = std::regex_replace(capture.text(), std::regex("\n\\*\\*\\* {9}"), " ");
            checks.that(report.find("*** WARNING  Error ORVLS_VALUE_OUT_OF_RANGE from orvls_reader_test.  "
                                    "The argument nobs = 0 must lie between 1 and 9.\n") != std::string::npos,
                        "heading and message in:\n" + report);
            checks.that(report.find(" ORVLS_WARNING     VALUE_OUT_OF_RANGE        orvls_reader_test\n") !=
                            std::string::npos,
                        "traceback row in:\n" + report);
        },
        "");
}

// Every literal code that the sources raise must have a message.
TEST(Catalogue, EveryRaisedCodeHasAnEntry)
{
    const std::regex call(R"((?:orvls_ermes|orvls_e1mes|record|raise_error)\s*\(\s*(?:block\s*,\s*)?-?\d+\s*,\s*([^,;)]*))");
    // The code itself, or the branches of a conditional: a number at the
    // start of the argument or just behind "?" or ":".
    const std::regex number(R"((?:^|[?:])\s*(\d+)\b)");
    std::set<unsigned> raised;
    for (const auto& file : fs::recursive_directory_iterator(ORVLS_SOURCE_DIR "/src")) {
        const std::string extension = file.path().extension().string();
        if (extension != ".cpp" && extension != ".h")
            continue;
        const std::string source = read_file(file.path().string());
        for (std::sregex_iterator match(source.begin(), source.end(), call), end; match != end; ++match) {
            const std::string argument = (*match)[1].str();
            for (std::sregex_iterator code(argument.begin(), argument.end(), number); code != end; ++code)
                raised.insert(static_cast<unsigned>(std::stoul((*code)[1].str())));
        }
    }
    // The frame alone raises these, two of them from one conditional call.
    for (unsigned code : {102u, 103u, 11001u, 602u, 603u, 60000u})
        EXPECT_EQ(raised.count(code), 1u) << "the scan misses " << code;
    const auto catalogue = catalogue_by_code();
    for (unsigned code : raised)
        EXPECT_EQ(catalogue.count(code), 1u) << "code " << code << " is raised but has no message";
}

}  // namespace
