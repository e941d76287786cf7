// Checks of the error-message catalogue and of the message files compiled
// from it. The reader here is written from the file layout alone, so that a
// fault in the compiler cannot hide behind shared code.

#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <vector>

namespace {

const std::string catalogue_path = ORVLS_SOURCE_DIR "/data/messages.txt";
const std::string binary_dir = ORVLS_BINARY_DIR;

struct CatalogueEntry {
    unsigned code;
    std::string name;
    std::string text;
};

std::vector<CatalogueEntry> read_catalogue() {
    std::ifstream in(catalogue_path);
    std::vector<CatalogueEntry> entries;
    std::string line;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#')
            continue;
        const std::size_t first = line.find(' ');
        const std::size_t second = line.find(' ', first + 1);
        entries.push_back({static_cast<unsigned>(std::stoul(line.substr(0, first))),
                           line.substr(first + 1, second - first - 1), line.substr(second + 1)});
    }
    return entries;
}

std::vector<unsigned char> read_bytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

int run_compiler(const std::string& arguments) {
    const std::string command = std::string("\"") + ORVLS_MSGC_PATH + "\" " + arguments + " 2>/dev/null";
    const int status = std::system(command.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

struct MessageFile {
    std::vector<unsigned char> bytes;
    bool swapped = false;
    unsigned count = 0;
    unsigned max_text = 0;
    unsigned max_name = 0;
    unsigned shift = 0;
    std::vector<unsigned> codes;
    std::vector<unsigned> blocks;
    std::size_t base = 0;
};

unsigned word_at(const std::vector<unsigned char>& bytes, std::size_t offset, bool swapped) {
    std::uint16_t word;
    std::memcpy(&word, bytes.data() + offset, sizeof word);
    return swapped ? static_cast<std::uint16_t>((word >> 8) | (word << 8)) : word;
}

void load(const std::string& path, MessageFile& file) {
    file.bytes = read_bytes(path);
    ASSERT_GE(file.bytes.size(), 14u) << path;
    const unsigned magic = word_at(file.bytes, 0, false);
    file.swapped = magic != 29432;
    ASSERT_EQ(word_at(file.bytes, 0, file.swapped), 29432u) << path << " lacks the magic";
    file.count = word_at(file.bytes, 4, file.swapped);
    file.max_text = word_at(file.bytes, 8, file.swapped);
    file.max_name = word_at(file.bytes, 10, file.swapped);
    file.shift = word_at(file.bytes, 12, file.swapped);
    ASSERT_LE(file.shift, 31u);
    ASSERT_GE(file.bytes.size(), 4u * file.count + 16) << "tables are cut short";
    for (unsigned i = 0; i < file.count; ++i)
        file.codes.push_back(word_at(file.bytes, 14 + 2 * i, file.swapped));
    for (unsigned i = 0; i <= file.count; ++i)
        file.blocks.push_back(word_at(file.bytes, 14 + 2 * file.count + 2 * i, file.swapped));
    const std::size_t block_size = std::size_t{1} << file.shift;
    file.base = 4 * std::size_t{file.count} + 15;
    if (block_size != 1)
        file.base += block_size - file.base % block_size;
}

// Reads record i as the library does: block[i + 1] - block[i] + 1 blocks.
void read_record(const MessageFile& file, unsigned i, std::string& text, std::string& name) {
    ASSERT_LE(file.blocks[i], file.blocks[i + 1]);
    const std::size_t offset = file.base + (std::size_t{file.blocks[i]} << file.shift);
    const std::size_t length = std::size_t{file.blocks[i + 1] - file.blocks[i] + 1} << file.shift;
    ASSERT_LE(offset + length, file.bytes.size()) << "the read of record " << i << " runs past the end";
    const char* record = reinterpret_cast<const char*>(file.bytes.data() + offset);
    const std::size_t text_end = std::string(record, length).find('\0');
    ASSERT_NE(text_end, std::string::npos);
    const std::size_t name_end = std::string(record, length).find('\0', text_end + 1);
    ASSERT_NE(name_end, std::string::npos);
    text.assign(record, text_end);
    name.assign(record + text_end + 1, name_end - text_end - 1);
}

void expect_catalogue(const MessageFile& file) {
    const std::vector<CatalogueEntry> catalogue = read_catalogue();
    ASSERT_EQ(file.count, catalogue.size());
    // Records must begin behind the block table, which the text base may overlap.
    EXPECT_GE(file.base + (std::size_t{file.blocks[0]} << file.shift), 4u * file.count + 16);
    std::size_t longest_text = 0;
    std::size_t longest_name = 0;
    for (unsigned i = 0; i < file.count; ++i) {
        if (i > 0) {
            EXPECT_LT(file.codes[i - 1], file.codes[i]);
        }
        EXPECT_EQ(file.codes[i], catalogue[i].code);
        std::string text;
        std::string name;
        ASSERT_NO_FATAL_FAILURE(read_record(file, i, text, name));
        EXPECT_EQ(text, catalogue[i].text) << "code " << catalogue[i].code;
        EXPECT_EQ(name, catalogue[i].name) << "code " << catalogue[i].code;
        longest_text = std::max(longest_text, text.size());
        longest_name = std::max(longest_name, name.size());
    }
    EXPECT_EQ(file.max_text, longest_text);
    EXPECT_EQ(file.max_name, longest_name);
}

TEST(MessageFile, HoldsEveryCatalogueEntry) {
    MessageFile file;
    ASSERT_NO_FATAL_FAILURE(load(binary_dir + "/orvls_e.bin", file));
    EXPECT_FALSE(file.swapped);
    expect_catalogue(file);
}

TEST(MessageFile, OtherByteOrderIsDetectedAndReadsTheSame) {
    MessageFile native;
    MessageFile swapped;
    ASSERT_NO_FATAL_FAILURE(load(binary_dir + "/orvls_e.bin", native));
    ASSERT_NO_FATAL_FAILURE(load(binary_dir + "/orvls_e_swapped.bin", swapped));
    EXPECT_TRUE(swapped.swapped);
    EXPECT_EQ(swapped.shift, native.shift);
    EXPECT_EQ(swapped.blocks, native.blocks);
    expect_catalogue(swapped);
}

TEST(MessageFile, EveryBlockShiftGivesAReadableFile) {
    for (unsigned shift : {0u, 1u, 7u}) {
        for (bool swap : {false, true}) {
            SCOPED_TRACE("shift " + std::to_string(shift) + (swap ? ", swapped" : ""));
            const std::string path = binary_dir + "/test_messages_shift" + std::to_string(shift) +
                                     (swap ? "_swapped.bin" : ".bin");
            ASSERT_EQ(run_compiler("\"" + catalogue_path + "\" \"" + path + "\" --shift " +
                                   std::to_string(shift) + (swap ? " --swap" : "")),
                      0);
            MessageFile file;
            ASSERT_NO_FATAL_FAILURE(load(path, file));
            EXPECT_EQ(file.shift, shift);
            EXPECT_EQ(file.swapped, swap);
            expect_catalogue(file);
        }
    }
}

TEST(MessageCompiler, RejectsMalformedCatalogues) {
    const std::string long_name(32, 'N');
    const struct {
        const char* what;
        std::string text;
    } cases[] = {
        {"unsorted codes", "200 B Second.\n100 A First.\n"},
        {"a repeated code", "100 A First.\n100 B Again.\n"},
        {"a missing name", "100\n"},
        {"an empty name", "100  Text after two blanks.\n"},
        {"a missing template", "100 NAME\n"},
        {"a name over 31 characters", "100 " + long_name + " Text.\n"},
        {"a code above 65535", "65536 BIG Text.\n"},
        {"a lower-case name", "100 name Text.\n"},
    };
    const std::string input = binary_dir + "/test_messages_bad.txt";
    const std::string output = binary_dir + "/test_messages_bad.bin";
    for (const auto& c : cases) {
        std::ofstream(input) << "# comment\n" << c.text;
        EXPECT_EQ(run_compiler("\"" + input + "\" \"" + output + "\""), 1) << c.what;
    }
    std::ofstream(input) << "65535 " << std::string(31, 'N') << " Longest name, last code.\n";
    EXPECT_EQ(run_compiler("\"" + input + "\" \"" + output + "\""), 0);
}

TEST(MessageCatalogue, NamesAreShortUniqueAndUpperCase) {
    std::set<std::string> names;
    for (const CatalogueEntry& entry : read_catalogue()) {
        // Reports print "ORVLS_" and the name in a 25-character column.
        EXPECT_LE(entry.name.size(), 25u) << entry.name;
        EXPECT_EQ(entry.name.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_"), std::string::npos)
            << entry.name;
        EXPECT_TRUE(names.insert(entry.name).second) << entry.name << " is used twice";
    }
}

// A substitution is %( letter digit [%format] ), the format holding no ')'.
bool substitutions_well_formed(const std::string& text) {
    for (std::size_t at = text.find("%("); at != std::string::npos; at = text.find("%(", at + 1)) {
        if (at + 4 >= text.size() || std::string("CDFRIZLScdfrizls").find(text[at + 2]) == std::string::npos ||
            text[at + 3] < '1' || text[at + 3] > '9')
            return false;
        if (text[at + 4] == ')')
            continue;
        if (text[at + 4] != '%' || text.find(')', at + 5) == std::string::npos)
            return false;
    }
    return true;
}

TEST(MessageCatalogue, SubstitutionsAreWellFormed) {
    EXPECT_TRUE(substitutions_well_formed("%(I1) and %(d2%.3g) and %(L9) in 90%/ %"));
    EXPECT_FALSE(substitutions_well_formed("%(X1)"));
    EXPECT_FALSE(substitutions_well_formed("%(I0)"));
    EXPECT_FALSE(substitutions_well_formed("%(I1"));
    EXPECT_FALSE(substitutions_well_formed("%(D1%e"));
    for (const CatalogueEntry& entry : read_catalogue()) {
        EXPECT_FALSE(entry.text.empty()) << entry.code;
        EXPECT_TRUE(substitutions_well_formed(entry.text)) << entry.code << ": " << entry.text;
    }
}

TEST(MessageCatalogue, FrameCodesArePresent) {
    std::set<unsigned> codes;
    for (const CatalogueEntry& entry : read_catalogue())
        codes.insert(entry.code);
    for (unsigned code : {102u, 103u, 104u, 122u, 132u, 160u, 200u, 201u, 202u, 203u, 499u, 502u, 504u, 506u,
                          508u, 511u, 600u, 601u, 602u, 603u, 620u, 621u, 11001u, 11002u, 11117u, 60000u,
                          60001u, 60003u})
        EXPECT_EQ(codes.count(code), 1u) << "code " << code << " has no message";
}

}  // namespace
