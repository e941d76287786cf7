// Test support: reads reference files written as blocks by the generators
// in tools/.  Lines starting with # are comments; every other block starts
// with the word "case"; a matrix is its label, its rows and columns, then its
// values row by row (nan for a missing value).
//
//     read_reference_cases<Case>("tests/statistics/data/references.txt", [](std::istream& in, Case& c) {
//         in >> c.name;
//         c.x = read_reference_matrix(in, "x");
//     });
#pragma once

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

struct ReferenceMatrix {
    int64_t rows = 0, columns = 0;
    std::vector<double> values;
};

inline ReferenceMatrix read_reference_matrix(std::istream& in, const char* label)
{
    std::string word;
    ReferenceMatrix m;
    in >> word >> m.rows >> m.columns;
    EXPECT_EQ(word, label);
    for (int64_t k = 0; k < m.rows * m.columns && in >> word; ++k)
        m.values.push_back(std::strtod(word.c_str(), nullptr));
    return m;
}

// The cases of the file at ORVLS_SOURCE_DIR/relative_path: read_case(in, c)
// fills each one from the stream behind its word "case".
template <class Case, class ReadCase>
std::vector<Case> read_reference_cases(const std::string& relative_path, ReadCase read_case)
{
    std::ifstream in(std::string(ORVLS_SOURCE_DIR) + "/" + relative_path);
    if (!in)
        ADD_FAILURE() << "cannot read " << relative_path;
    std::vector<Case> cases;
    std::string word;
    while (in >> word) {
        if (word[0] == '#') {
            std::getline(in, word);
        } else if (word == "case") {
            cases.emplace_back();
            read_case(in, cases.back());
        } else {
            ADD_FAILURE() << relative_path << ": unexpected " << word;
        }
    }
    return cases;
}
