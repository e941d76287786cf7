// Fuzz target: the message-file reader.  The bytes are written as
// orvls_e.bin into a directory of this run's own, which ORVLSERRPATH names,
// and read by the library's lookup twice: as they are, and with every
// 16-bit word swapped, so that each input is read in both byte orders.  The
// reader keeps its index for the process, so the test-only reset makes it
// search and read the file anew.  Each time, the texts and names of the
// codes that the file's code table begins with (and a few fixed ones) are
// looked up, and an error of each code is raised with every kind of message
// parameter set, so that the file's templates are expanded and printed.
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "frame/message_file.h"
#include "orvls.h"
#include "quiet_library.h"

namespace {

constexpr std::size_t kCodeTable = 14;
constexpr std::size_t kCodesLookedUp = 6;

const std::string& message_directory()
{
    static const std::string directory = [] {
        char name[] = "/tmp/orvls_fuzz_messages_XXXXXX";
        const char* made = mkdtemp(name);
        if (made == nullptr)
            std::abort();
        setenv("ORVLSERRPATH", made, 1);
        return std::string(made);
    }();
    return directory;
}

void write_file(const std::vector<uint8_t>& bytes)
{
    const std::string path = message_directory() + "/orvls_e.bin";
    FILE* file = std::fopen(path.c_str(), "wb");
    if (file == nullptr)
        std::abort();
    if (!bytes.empty() && std::fwrite(bytes.data(), 1, bytes.size(), file) != bytes.size())
        std::abort();
    std::fclose(file);
}

void raise_error(int64_t type, int64_t code)
{
    static const char name[] = "fuzz_message_file";
    static const orvls_d_complex complex_value{1.5, -2.25};
    orvls_e1psh(name);
    for (int64_t i = 1; i <= 9; ++i) {
        orvls_e1sti(i, -i * 1000003);
        orvls_e1std(i, 1.0 / static_cast<double>(i));
        orvls_e1stz(i, &complex_value);
        orvls_e1stl(i, "parameter text");
    }
    orvls_ermes(type, code);
    orvls_e1pop(name);
}

void look_up(int64_t code)
{
    volatile std::size_t length = std::strlen(orvls::orvls_message_text(code));
    length = std::strlen(orvls::orvls_code_name(code));
    (void)length;
    raise_error(ORVLS_WARNING, code);
    raise_error(ORVLS_FATAL, code);
}

void read_as_file(const std::vector<uint8_t>& bytes)
{
    write_file(bytes);
    orvls::forget_message_file();
    std::vector<int64_t> codes = {0, 1, 65535, 100000 + 601};
    for (std::size_t i = 0; i < kCodesLookedUp && kCodeTable + 2 * i + 1 < bytes.size(); ++i) {
        const std::size_t at = kCodeTable + 2 * i;
        codes.push_back(bytes[at] | bytes[at + 1] << 8);
        codes.push_back(bytes[at] << 8 | bytes[at + 1]);
    }
    for (int64_t code : codes)
        look_up(code);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size)
{
    quiet_library();
    std::vector<uint8_t> bytes(data, data + size);
    read_as_file(bytes);
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2)
        std::swap(bytes[i], bytes[i + 1]);
    read_as_file(bytes);
    return 0;
}
