// Test support: reads a reference table written by tools/gen_special_refs.py.
//
// A table is a CSV file with a one-line header naming the columns and one
// case per line, numbers printed so that they read back as the same double.
// Text columns (such as `branch`) are kept as strings.
//
//     for (const ReferenceRow& row : read_reference_table("tests/special/data/gamma.csv"))
//         EXPECT_NEAR(orvls_d_gamma(row["x"]), row["value"], 1e-14 * std::fabs(row["value"]))
//             << row.text("branch");
//
// The path is relative to the source tree. A missing file, a missing column
// or a short line makes the test fail at once.
#pragma once

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

class ReferenceRow {
public:
    ReferenceRow(std::shared_ptr<const std::vector<std::string>> columns, std::vector<std::string> fields)
        : columns_(std::move(columns)), fields_(std::move(fields))
    {
    }

    // The named column read as a double ("inf" and "-inf" included).
    double operator[](const std::string& column) const
    {
        const std::string& field = text(column);
        char* end = nullptr;
        const double value = std::strtod(field.c_str(), &end);
        if (end == field.c_str() || *end != '\0')
            throw std::runtime_error("reference table: column " + column + " is not a number: " + field);
        return value;
    }

    // The named column as it stands in the file.
    const std::string& text(const std::string& column) const
    {
        for (std::size_t i = 0; i < columns_->size(); ++i)
            if ((*columns_)[i] == column)
                return fields_[i];
        throw std::runtime_error("reference table: no column " + column);
    }

    bool has(const std::string& column) const
    {
        for (const std::string& name : *columns_)
            if (name == column)
                return true;
        return false;
    }

private:
    std::shared_ptr<const std::vector<std::string>> columns_;
    std::vector<std::string> fields_;
};

inline std::vector<std::string> split_reference_line(const std::string& line)
{
    std::vector<std::string> fields;
    std::stringstream in(line);
    std::string field;
    while (std::getline(in, field, ','))
        fields.push_back(field);
    return fields;
}

// All rows of the table at ORVLS_SOURCE_DIR/relative_path. Fails the calling
// test (and returns no rows) when the file cannot be read or is malformed.
inline std::vector<ReferenceRow> read_reference_table(const std::string& relative_path)
{
    const std::string path = std::string(ORVLS_SOURCE_DIR) + "/" + relative_path;
    std::ifstream in(path);
    std::vector<ReferenceRow> rows;
    std::string line;
    if (!in || !std::getline(in, line)) {
        ADD_FAILURE() << "cannot read reference table " << path;
        return rows;
    }
    const auto columns = std::make_shared<const std::vector<std::string>>(split_reference_line(line));
    for (int number = 2; std::getline(in, line); ++number) {
        if (line.empty())
            continue;
        std::vector<std::string> fields = split_reference_line(line);
        if (fields.size() != columns->size()) {
            ADD_FAILURE() << path << ":" << number << ": " << fields.size() << " fields, expected "
                          << columns->size();
            return {};
        }
        rows.emplace_back(columns, std::move(fields));
    }
    if (rows.empty())
        ADD_FAILURE() << "reference table " << path << " has no rows";
    return rows;
}

// True when x is a float exactly: the rows whose inputs pass this serve the
// float forms too.
inline bool representable_in_float(double x)
{
    if (std::isnan(x) || std::isinf(x))
        return true;
    if (std::fabs(x) > std::numeric_limits<float>::max())
        return false;  // the conversion itself would be undefined
    return static_cast<double>(static_cast<float>(x)) == x;
}
