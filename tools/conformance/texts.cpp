// The table behind the text words: a vector holds the index of its text, so
// that texts travel in the same words as the numbers.
#include <deque>
#include <map>

#include "conformance.h"

namespace conformance {
namespace {

struct TextTable {
    std::deque<std::string> texts;
    std::map<std::string, std::uint32_t> index;
};

TextTable &table() {
    static TextTable t;
    return t;
}

}  // namespace

std::uint32_t text_word(const std::string &text) {
    TextTable &t = table();
    const auto found = t.index.find(text);
    if (found != t.index.end()) return found->second;
    const auto w = static_cast<std::uint32_t>(t.texts.size());
    t.texts.push_back(text);
    t.index.emplace(text, w);
    return w;
}

const std::string &text_of(std::uint32_t w) { return table().texts.at(w); }

}  // namespace conformance
