// The shared object's dynamic symbol table: numbered entries for public
// routines, plain names where the header keeps them, no internals.
#include <gtest/gtest.h>

#include <cstdio>
#include <regex>
#include <set>
#include <string>

namespace {

std::set<std::string> exported_symbols()
{
    const std::string command = std::string("nm -D --defined-only ") + ORVLS_SHARED_LIBRARY;
    std::set<std::string> symbols;
    FILE* pipe = popen(command.c_str(), "r");
    char line[512];
    while (pipe != nullptr && std::fgets(line, sizeof line, pipe) != nullptr) {
        char kind = 0;
        char name[400];
        if (std::sscanf(line, "%*s %c %399s", &kind, name) == 2 && (kind == 'T' || kind == 'W'))
            symbols.insert(name);
    }
    if (pipe != nullptr)
        pclose(pipe);
    return symbols;
}

TEST(Exports, OnlyTheLibrarysOwnNames)
{
    const std::set<std::string> symbols = exported_symbols();
    ASSERT_FALSE(symbols.empty());
    const std::regex allowed("orvls_[0-9]{5}|orvls_[a-z0-9_]+|orvls_random_MT(32|64)_table_(get|set)|_init|_fini");
    for (const std::string& name : symbols)
        EXPECT_TRUE(std::regex_match(name, allowed)) << name;
    for (const char* name : {"orvls_20227", "orvls_20228", "orvls_e1psh", "orvls_e1pop", "orvls_e1mes", "orvls_ermes",
                             "orvls_n1rty", "orvls_e1pos", "orvls_umach", "orvls_d_m1ran", "orvls_skip_signal_handler",
                             "orvls_free_allocated_memory", "orvls_set_at_checksum", "orvls_n1rnof"})
        EXPECT_EQ(symbols.count(name), 1u) << name;
    // Public names that map to numbers are not exported under their names.
    EXPECT_EQ(symbols.count("orvls_error_code"), 0u);
    EXPECT_EQ(symbols.count("orvls_error_options"), 0u);
    // Internal routines stay inside.
    for (const std::string& name : symbols)
        EXPECT_EQ(name.find("orvls_tsd_"), std::string::npos) << name;
}

}  // namespace
