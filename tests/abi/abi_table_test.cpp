// The numbered-symbol table of the public header.  Compiled callers bind to the
// numbers, not to the names, so the table is read from the header text itself and
// checked for the rules that keep the binary interface stable.
#include <gtest/gtest.h>

#include <orvls.h>

#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <vector>

namespace {

constexpr int lowest_number = 20000;
constexpr int highest_number = 20645;

struct Entry {
    std::string name;
    int number;
    int group;
};

struct Table {
    bool found_block = false;
    std::vector<Entry> entries;
    std::vector<std::string> stray_lines;  // neither a macro, a group comment nor blank
};

Table parse_table(std::istream& header) {
    static const std::regex macro(R"(#define\s+(orvls_\w+)\s+orvls_(\d{5})\s*)");
    static const std::regex comment(R"(/\*.*\*/\s*)");
    static const std::regex blank(R"(\s*)");
    Table table;
    bool inside = false;
    int group = -1;
    std::string line;
    while (std::getline(header, line)) {
        if (line == "/* BEGIN NUMBERED SYMBOLS */") {
            inside = true;
            table.found_block = true;
            continue;
        }
        if (line == "/* END NUMBERED SYMBOLS */") break;
        if (!inside) continue;
        std::smatch m;
        if (std::regex_match(line, m, macro) && group >= 0)
            table.entries.push_back({m[1], std::stoi(m[2]), group});
        else if (std::regex_match(line, comment))
            ++group;
        else if (!std::regex_match(line, blank))
            table.stray_lines.push_back(line);
    }
    return table;
}

const Table& table() {
    static const Table t = [] {
        std::ifstream header(ORVLS_SOURCE_DIR "/include/orvls.h");
        return parse_table(header);
    }();
    return t;
}

std::map<std::string, int> number_by_name() {
    std::map<std::string, int> numbers;
    for (const Entry& e : table().entries) numbers[e.name] = e.number;
    return numbers;
}

bool starts_with(const std::string& s, const std::string& prefix) {
    return s.compare(0, prefix.size(), prefix) == 0;
}

// Numbers that callers already hold, with the names they belong to.
const std::map<std::string, int> fixed_numbers = {
    {"orvls_c_neg", 20000}, {"orvls_z_neg", 20001}, {"orvls_c_div", 20008}, {"orvls_z_div", 20009},
    {"orvls_i_min", 20138}, {"orvls_f_min", 20139}, {"orvls_d_min", 20140}, {"orvls_i_max", 20143},
    {"orvls_f_max", 20144}, {"orvls_d_max", 20145}, {"orvls_f_integer_power", 20149},
    {"orvls_d_integer_power", 20150}, {"orvls_f_power", 20151}, {"orvls_d_power", 20152},
    {"orvls_i_write_matrix", 20197}, {"orvls_f_write_matrix", 20198}, {"orvls_d_write_matrix", 20199},
    {"orvls_page", 20200}, {"orvls_write_options", 20201}, {"orvls_f_simple_statistics", 20206},
    {"orvls_d_simple_statistics", 20207}, {"orvls_ctime", 20226}, {"orvls_error_code", 20227},
    {"orvls_error_options", 20228}, {"orvls_i_machine", 20229}, {"orvls_f_machine", 20230},
    {"orvls_d_machine", 20231}, {"orvls_f_constant", 20232}, {"orvls_d_constant", 20233}, {"orvls_version", 20234},
    {"orvls_f_kalman", 20455}, {"orvls_d_kalman", 20456},
};

// Exports that keep their plain names and so must never be remapped.
const std::vector<std::string> plain_exports = {
    // vector and matrix kernels
    "orvls_sset", "orvls_dset", "orvls_cset", "orvls_zset", "orvls_iset", "orvls_sadd",
    "orvls_dadd", "orvls_svcal", "orvls_ssum", "orvls_dsum", "orvls_isum", "orvls_sasum",
    "orvls_shprod", "orvls_dshprod", "orvls_sxyz", "orvls_dxyz", "orvls_ismax", "orvls_dismax",
    "orvls_ismin", "orvls_dismin", "orvls_iimax", "orvls_iimin", "orvls_isamax", "orvls_idamax",
    "orvls_isamin", "orvls_idamin", "orvls_scopy", "orvls_dcopy", "orvls_ccopy", "orvls_zcopy",
    "orvls_icopy", "orvls_cswap", "orvls_zswap", "orvls_iswap", "orvls_sscal", "orvls_dscal",
    "orvls_cscal", "orvls_zscal", "orvls_csscal", "orvls_zdscal", "orvls_sdot", "orvls_ddot",
    "orvls_snrm2", "orvls_dnrm2", "orvls_scnrm2", "orvls_dznrm2", "orvls_srot", "orvls_drot",
    "orvls_srotg", "orvls_drotg", "orvls_srotm", "orvls_drotm", "orvls_srotmg", "orvls_drotmg",
    "orvls_strsv", "orvls_dtrsv", "orvls_sgemv", "orvls_dgemv", "orvls_sger", "orvls_dger",
    "orvls_ssymv", "orvls_ssyr", "orvls_ssyr2", "orvls_dsyr2", "orvls_sgemm", "orvls_dgemm",
    // error primitives
    "orvls_e1psh", "orvls_e1pop", "orvls_e1mes", "orvls_ermes", "orvls_e1sti", "orvls_e1str",
    "orvls_e1std", "orvls_e1stc", "orvls_e1stz", "orvls_e1stl", "orvls_n1rty", "orvls_e1pos",
    "orvls_n1rnof", "orvls_set_at_checksum",
    // machine constants, NaN tests, transposition, streams, memory, signals
    "orvls_amach", "orvls_dmach", "orvls_umach", "orvls_ifnan", "orvls_difnan",
    "orvls_f_m1ran", "orvls_d_m1ran", "orvls_i_m1ran", "orvls_output_file",
    "orvls_free_allocated_memory", "orvls_skip_signal_handler",
    // sorting and printing services
    "orvls_svrgn", "orvls_dsvrgn", "orvls_wrrrs", "orvls_dwrrrs", "orvls_wrtrl",
    // twister state tables
    "orvls_random_MT32_table_get", "orvls_random_MT32_table_set",
    "orvls_random_MT64_table_get", "orvls_random_MT64_table_set",
};

TEST(NumberedSymbols, BlockHoldsOnlyGroupedMacros) {
    ASSERT_TRUE(table().found_block) << "no numbered-symbol block in include/orvls.h";
    EXPECT_TRUE(table().stray_lines.empty()) << "first stray line: " << table().stray_lines[0];
    EXPECT_GE(table().entries.size(), fixed_numbers.size());
}

// Names and numbers are unique and in range, sorted within a group; 20000 to
// 20035 belong to the scalar complex helpers alone, and 20582 to 20605 carry
// no public name.
TEST(NumberedSymbols, NumbersAreUniqueSortedAndOutsideTheReservedRanges) {
    std::set<std::string> names;
    std::set<int> numbers;
    const std::vector<Entry>& entries = table().entries;
    for (size_t i = 0; i < entries.size(); ++i) {
        const Entry& e = entries[i];
        EXPECT_TRUE(names.insert(e.name).second) << e.name << " appears twice";
        EXPECT_TRUE(numbers.insert(e.number).second) << e.number << " is used twice";
        EXPECT_GE(e.number, lowest_number) << e.name;
        EXPECT_LE(e.number, highest_number) << e.name;
        if (i > 0 && e.group == entries[i - 1].group) {
            EXPECT_LT(entries[i - 1].number, e.number) << e.name;
        }
        EXPECT_FALSE(e.number >= 20582 && e.number <= 20605) << e.name << " at " << e.number;
        if (e.number <= 20035) {
            EXPECT_TRUE(starts_with(e.name, "orvls_c_") || starts_with(e.name, "orvls_z_"))
                << e.name << " at " << e.number;
        }
    }
}

// f/d forms are adjacent with float lower; an integer form sits just below the float
// form; the complex helpers put float on the even number and double on the next.
TEST(NumberedSymbols, PrecisionFormsAreAdjacent) {
    const std::map<std::string, int> numbers = number_by_name();
    auto number_of = [&](const std::string& name) {
        auto it = numbers.find(name);
        return it == numbers.end() ? -1 : it->second;
    };
    for (const auto& [name, number] : numbers) {
        const std::string base = name.substr(std::string("orvls_f_").size());
        if (starts_with(name, "orvls_f_")) {
            EXPECT_EQ(number_of("orvls_d_" + base), number + 1) << name;
            if (number_of("orvls_i_" + base) >= 0) {
                EXPECT_EQ(number_of("orvls_i_" + base), number - 1) << name;
            }
        } else if (starts_with(name, "orvls_d_")) {
            EXPECT_EQ(number_of("orvls_f_" + base), number - 1) << name;
        } else if (starts_with(name, "orvls_c_")) {
            EXPECT_EQ(number % 2, 0) << name;
            EXPECT_EQ(number_of("orvls_z_" + base), number + 1) << name;
        } else if (starts_with(name, "orvls_z_")) {
            EXPECT_EQ(number_of("orvls_c_" + base), number - 1) << name;
        }
    }
}

TEST(NumberedSymbols, FixedNumbersKeepTheirNames) {
    std::map<int, std::string> name_by_number;
    for (const Entry& e : table().entries) name_by_number[e.number] = e.name;
    for (const auto& [name, number] : fixed_numbers) {
        auto it = name_by_number.find(number);
        ASSERT_NE(it, name_by_number.end()) << number << " (" << name << ") is missing";
        EXPECT_EQ(it->second, name) << "at " << number;
    }
}

TEST(NumberedSymbols, PlainExportsAreNotNumbered) {
    const std::map<std::string, int> numbers = number_by_name();
    for (const std::string& name : plain_exports) EXPECT_EQ(numbers.count(name), 0u) << name;
}

}  // namespace
