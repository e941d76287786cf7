// A test fixture that points the thread's output stream at memory, keeps
// errors from stopping the process, and puts the print settings back to
// their defaults before and after each test.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

#include "capture.h"
#include "frame/error_block.h"
#include "orvls.h"

class PrintTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        output_ = open_memstream(&buffer_, &length_);
        orvls_umach(-2, &output_);
        reset_settings();
    }

    void TearDown() override
    {
        reset_settings();
        FILE* standard = stdout;
        orvls_umach(-2, &standard);
        std::fclose(output_);
        std::free(buffer_);
    }

    static void reset_settings()
    {
        int64_t unused = 0;
        int64_t width = 78;
        int64_t length = 60;
        orvls_write_options(0, &unused);
        orvls_page(-1, &width);
        orvls_page(-2, &length);
    }

    static void set_option(int64_t field, int64_t value) { orvls_write_options(-field, &value); }
    static int64_t option(int64_t field)
    {
        int64_t value = 0;
        orvls_write_options(field, &value);
        return value;
    }
    static void set_page_width(int64_t value) { orvls_page(-1, &value); }
    static void set_page_length(int64_t value) { orvls_page(-2, &value); }

    // Everything printed to the output stream so far.
    std::string printed()
    {
        std::fflush(output_);
        return std::string(buffer_, length_);
    }

    static std::string expected(const std::string& name)
    {
        std::ifstream file(std::string(ORVLS_SOURCE_DIR) + "/tests/printing/expected/" + name, std::ios::binary);
        EXPECT_TRUE(file.good()) << name;
        std::ostringstream text;
        text << file.rdbuf();
        return text.str();
    }

    // Message parameters of the last error raised on this thread.
    static int64_t int_parameter(int i) { return orvls::orvls_error_block()->int_param[i - 1]; }
    static std::string string_parameter(int i)
    {
        const char* text = orvls::orvls_error_block()->string_param[i - 1];
        return text != nullptr ? text : "";
    }

    ErrorCapture capture_;

private:
    FILE* output_ = nullptr;
    char* buffer_ = nullptr;
    std::size_t length_ = 0;
};
