// orvls_msgc: compiles the error-message catalogue (data/messages.txt) into
// the binary message file orvls_e.bin that the library reads at run time.
//
//   orvls_msgc <input.txt> <output.bin> [--swap]
//
// --swap writes every 16-bit word in the other byte order, so that a reader's
// byte-order detection can be tested on any machine. A further option,
// --shift N, forces the block shift instead of choosing it.
//
// File layout: a 14-byte header, the code table (n words), the block table
// (n + 1 words), padding to the text base, then one record per message
// (template, NUL, symbolic name, NUL), each starting on a block boundary,
// and one spare block behind the last record, because the reader fetches one
// block more than a record spans.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

namespace {

constexpr std::uint16_t file_magic = 29432;
constexpr std::size_t max_name_length = 31;
constexpr unsigned default_min_shift = 4;
constexpr unsigned max_shift = 31;

struct Message {
    std::uint16_t code;
    std::string name;
    std::string text;
};

[[noreturn]] void fail(const std::string& what) {
    std::fprintf(stderr, "orvls_msgc: %s\n", what.c_str());
    std::exit(1);
}

[[noreturn]] void fail_at(const std::string& path, std::size_t line, const std::string& what) {
    fail(path + ":" + std::to_string(line) + ": " + what);
}

bool is_name_character(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

// Reads "<code> <NAME> <template>"; the template is the rest of the line.
Message parse_line(const std::string& line, const std::string& path, std::size_t number) {
    const std::size_t code_end = line.find(' ');
    const std::string code_text = line.substr(0, code_end);
    if (code_text.empty() || code_text.size() > 5 ||
        code_text.find_first_not_of("0123456789") != std::string::npos)
        fail_at(path, number, "the line must begin with a decimal code");
    const unsigned long code = std::stoul(code_text);
    if (code > 65535)
        fail_at(path, number, "code " + code_text + " does not fit in 16 bits");
    if (code_end == std::string::npos)
        fail_at(path, number, "code " + code_text + " has no symbolic name");

    const std::size_t name_end = line.find(' ', code_end + 1);
    const std::string name = line.substr(code_end + 1, name_end - code_end - 1);
    if (name.empty())
        fail_at(path, number, "code " + code_text + " has no symbolic name");
    if (name.size() > max_name_length)
        fail_at(path, number, "the name " + name + " is longer than 31 characters");
    for (char c : name)
        if (!is_name_character(c))
            fail_at(path, number, "the name " + name + " may hold only A-Z, 0-9 and _");
    if (name_end == std::string::npos || name_end + 1 == line.size())
        fail_at(path, number, "code " + code_text + " has no template");

    return Message{static_cast<std::uint16_t>(code), name, line.substr(name_end + 1)};
}

std::vector<Message> read_catalogue(const std::string& path) {
    std::ifstream in(path);
    if (!in)
        fail("cannot open " + path);
    std::vector<Message> messages;
    std::string line;
    for (std::size_t number = 1; std::getline(in, line); ++number) {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (line.empty() || line.front() == '#')
            continue;
        Message message = parse_line(line, path, number);
        if (!messages.empty() && message.code <= messages.back().code)
            fail_at(path, number, "code " + std::to_string(message.code) +
                                      " does not follow " + std::to_string(messages.back().code) +
                                      "; codes must ascend without repeats");
        messages.push_back(std::move(message));
    }
    if (messages.empty())
        fail(path + " holds no messages");
    if (messages.size() > 65535)
        fail(path + " holds more messages than 16 bits can count");
    return messages;
}

// The reader's rule: start from 4n + 15 and round up to the next block
// boundary, except for blocks of one byte, where the base overlaps the last
// byte of the block table.
std::size_t text_base(std::size_t n, unsigned shift) {
    const std::size_t block_size = std::size_t{1} << shift;
    std::size_t base = 4 * n + 15;
    if (block_size != 1)
        base += block_size - base % block_size;
    return base;
}

std::size_t record_size(const Message& message) {
    return message.text.size() + 1 + message.name.size() + 1;
}

// Block numbers of the records relative to the text base, plus the end mark.
// Records start behind the block table, so with one-byte blocks the first
// block, which is the table's last byte, stays unused.
std::vector<std::size_t> block_numbers(const std::vector<Message>& messages, unsigned shift) {
    const std::size_t block_size = std::size_t{1} << shift;
    const std::size_t table_end = 4 * messages.size() + 16;
    const std::size_t base = text_base(messages.size(), shift);
    std::size_t block = table_end > base ? (table_end - base + block_size - 1) / block_size : 0;
    std::vector<std::size_t> blocks;
    for (const Message& message : messages) {
        blocks.push_back(block);
        block += (record_size(message) + block_size - 1) / block_size;
    }
    blocks.push_back(block);
    return blocks;
}

bool blocks_fit(const std::vector<Message>& messages, unsigned shift) {
    return block_numbers(messages, shift).back() <= 65535;
}

unsigned choose_shift(const std::vector<Message>& messages) {
    for (unsigned shift = default_min_shift; shift <= max_shift; ++shift)
        if (blocks_fit(messages, shift))
            return shift;
    fail("the messages do not fit in 16-bit block numbers");
}

std::size_t longest(const std::vector<Message>& messages, std::string Message::*field) {
    std::size_t length = 0;
    for (const Message& message : messages)
        length = std::max(length, (message.*field).size());
    return length;
}

void put_word(std::vector<char>& file, std::size_t offset, std::size_t value, bool swap) {
    if (value > 65535)
        fail("a header or table value exceeds 16 bits: " + std::to_string(value));
    std::uint16_t word = static_cast<std::uint16_t>(value);
    if (swap)
        word = static_cast<std::uint16_t>((word >> 8) | (word << 8));
    std::memcpy(file.data() + offset, &word, sizeof word);
}

std::vector<char> encode(const std::vector<Message>& messages, unsigned shift, bool swap) {
    const std::size_t n = messages.size();
    const std::vector<std::size_t> blocks = block_numbers(messages, shift);
    const std::size_t base = text_base(n, shift);
    std::vector<char> file(base + ((blocks.back() + 1) << shift), '\0');

    const std::size_t header[7] = {file_magic, 0, n, 0, longest(messages, &Message::text),
                                   longest(messages, &Message::name), shift};
    for (std::size_t i = 0; i < 7; ++i)
        put_word(file, 2 * i, header[i], swap);
    for (std::size_t i = 0; i < n; ++i)
        put_word(file, 14 + 2 * i, messages[i].code, swap);
    for (std::size_t i = 0; i <= n; ++i)
        put_word(file, 14 + 2 * n + 2 * i, blocks[i], swap);

    for (std::size_t i = 0; i < n; ++i) {
        char* record = file.data() + base + (blocks[i] << shift);
        std::memcpy(record, messages[i].text.data(), messages[i].text.size());
        std::memcpy(record + messages[i].text.size() + 1, messages[i].name.data(),
                    messages[i].name.size());
    }
    return file;
}

void write_file(const std::string& path, const std::vector<char>& bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!out)
        fail("cannot write " + path);
}

struct Options {
    std::string input;
    std::string output;
    bool swap = false;
    bool shift_given = false;
    unsigned shift = 0;
};

Options parse_arguments(int argc, char** argv) {
    if (argc < 3)
        fail("usage: orvls_msgc <input.txt> <output.bin> [--swap]");
    Options options{argv[1], argv[2]};
    for (int i = 3; i < argc; ++i) {
        const std::string argument = argv[i];
        if (argument == "--swap") {
            options.swap = true;
        } else if (argument == "--shift" && i + 1 < argc) {
            const std::string value = argv[++i];
            if (value.empty() || value.size() > 2 ||
                value.find_first_not_of("0123456789") != std::string::npos ||
                std::stoul(value) > max_shift)
                fail("--shift takes a number from 0 to 31");
            options.shift_given = true;
            options.shift = static_cast<unsigned>(std::stoul(value));
        } else {
            fail("unknown argument " + argument);
        }
    }
    return options;
}

}  // namespace

int main(int argc, char** argv) {
    const Options options = parse_arguments(argc, argv);
    const std::vector<Message> messages = read_catalogue(options.input);
    const unsigned shift = options.shift_given ? options.shift : choose_shift(messages);
    if (!blocks_fit(messages, shift))
        fail("block numbers exceed 16 bits with shift " + std::to_string(shift));
    write_file(options.output, encode(messages, shift, options.swap));
    return 0;
}
