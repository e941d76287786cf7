// The message catalogue as its text file tells it, files read whole, and the
// message compiler run on the catalogue.
#pragma once

#include <sys/wait.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

struct CatalogueEntry {
    unsigned code;
    std::string name;
    std::string text;
};

inline std::vector<CatalogueEntry> read_catalogue()
{
    std::ifstream in(ORVLS_SOURCE_DIR "/data/messages.txt");
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

inline std::map<unsigned, CatalogueEntry> catalogue_by_code()
{
    std::map<unsigned, CatalogueEntry> entries;
    for (const CatalogueEntry& entry : read_catalogue())
        entries[entry.code] = entry;
    return entries;
}

inline std::string read_file(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// Runs the message compiler on the catalogue, or on `input`; its exit status.
inline int compile_messages(const std::string& output, const std::string& options,
                            const std::string& input = ORVLS_SOURCE_DIR "/data/messages.txt")
{
    const std::string command = std::string("\"") + ORVLS_MSGC_PATH + "\" \"" + input + "\" \"" + output + "\" " +
                                options + " 2>/dev/null";
    const int status = std::system(command.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}
