// Checks of the error-message catalogue and of the message files compiled
// from it. The reader here is written from the file layout alone, so that a
// fault in the compiler cannot hide behind shared code.

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "catalogue.h"

namespace {

const std::string binary_dir = ORVLS_BINARY_DIR;

struct MessageFile {
    std::string bytes;
    bool swapped = false;
    unsigned count = 0;
    unsigned max_text = 0;
    unsigned max_name = 0;
    unsigned shift = 0;
    std::vector<unsigned> codes;
    std::vector<unsigned> blocks;
    std::size_t base = 0;
};

unsigned word_at(const std::string& bytes, std::size_t offset, bool swapped) {
    std::uint16_t word;
    std::memcpy(&word, bytes.data() + offset, sizeof word);
    return swapped ? static_cast<std::uint16_t>((word >> 8) | (word << 8)) : word;
}

void load(const std::string& path, MessageFile& file) {
    file.bytes = read_file(path);
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
    const char* record = file.bytes.data() + offset;
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

// The files of the build in both byte orders, and compiled ones for every
// block shift.
TEST(MessageFile, EveryLayoutHoldsTheCatalogue) {
    struct Layout {
        std::string path;
        bool swapped;
        int shift;  // -1: the build's own choice
    };
    std::vector<Layout> layouts = {{binary_dir + "/orvls_e.bin", false, -1},
                                   {binary_dir + "/orvls_e_swapped.bin", true, -1}};
    for (int shift : {0, 1, 7})
        for (bool swap : {false, true}) {
            const std::string path = binary_dir + "/test_messages_shift" + std::to_string(shift) +
                                     (swap ? "_swapped.bin" : ".bin");
            ASSERT_EQ(compile_messages(path, "--shift " + std::to_string(shift) + (swap ? " --swap" : "")), 0);
            layouts.push_back({path, swap, shift});
        }
    for (const Layout& layout : layouts) {
        SCOPED_TRACE(layout.path);
        MessageFile file;
        ASSERT_NO_FATAL_FAILURE(load(layout.path, file));
        EXPECT_EQ(file.swapped, layout.swapped);
        if (layout.shift >= 0) {
            EXPECT_EQ(int(file.shift), layout.shift);
        }
        expect_catalogue(file);
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
        EXPECT_EQ(compile_messages(output, "", input), 1) << c.what;
    }
    std::ofstream(input) << "65535 " << std::string(31, 'N') << " Longest name, last code.\n";
    EXPECT_EQ(compile_messages(output, "", input), 0);
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
