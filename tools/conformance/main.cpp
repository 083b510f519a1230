// viewgeo_conformance: writes and checks the conformance vectors.
//
//   viewgeo_conformance generate FAMILY     vectors of FAMILY on stdout
//   viewgeo_conformance check FILE          recompute FILE's vectors, compare
//   viewgeo_conformance outputs FILE        FILE's vectors with this target's
//                                           outputs (to compare targets)
//   viewgeo_conformance merge FILE OUTPUTS  FILE with the vectors on which
//                                           another target (OUTPUTS, written by
//                                           `outputs` there) differs marked,
//                                           where the difference is a NaN's sign
//   viewgeo_conformance merge FILE OUTPUTS libm
//                                           the same, and any other difference
//                                           becomes a libm tolerance (only after
//                                           tracing it to the maths library)
//
// A vector file is text: comment lines start with '#'; every other line is
//   NAME INPUT... : OUTPUT... [! MARK ...]
// with 'i' words in signed decimal, 'f' words as the float's bits in hex and
// 't' words (texts, inputs only) as a double quote followed by the text's
// bytes, where '%', blanks, control and non-ASCII bytes are written %XX.
// Marks:
//   ! nan@TARGET OUTPUT...  the result depends on the sign bit of a NaN met
//                           on the way, which differs between targets: the
//                           OUTPUTs hold on TARGET (armel, armhf, aarch64...),
//                           the main outputs on the target named in the file's
//                           "# nan-behaviour:" line (where it was generated).
//                           Since the sign of a NaN also depends on the
//                           optimisation level, any recorded variant passes.
//   ! libm K:N ...          output K may differ by up to N (units of the
//                           word, or ulps of a float) where the system maths
//                           library rounds differently.
#include <bit>
#include <cctype>
#include <cinttypes>
#include <cfenv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <map>
#include <sstream>

#include "conformance.h"

namespace conformance {
namespace {

constexpr std::uint64_t kStartState = 0x5649455747454F31ull;  // fixed: the files must not change

// FNV-1a of a calculation's name: its own stream of inputs.
std::uint64_t name_hash(const std::string &name) {
    std::uint64_t h = 0xCBF29CE484222325ull;
    for (unsigned char c : name) h = (h ^ c) * 0x100000001B3ull;
    return h;
}

std::string format_text(const std::string &text) {
    std::string out = "\"";
    for (unsigned char c : text) {
        if (c > ' ' && c < 0x7F && c != '%') {
            out += static_cast<char>(c);
        } else {
            char escape[4];
            std::snprintf(escape, sizeof escape, "%%%02X", c);
            out += escape;
        }
    }
    return out;
}

bool parse_text(const std::string &token, std::string &text) {
    if (token.empty() || token[0] != '"') return false;
    text.clear();
    for (std::size_t k = 1; k < token.size(); ++k) {
        if (token[k] != '%') {
            text += token[k];
            continue;
        }
        unsigned byte = 0;
        if (k + 2 >= token.size() || !std::isxdigit(static_cast<unsigned char>(token[k + 1])) ||
            !std::isxdigit(static_cast<unsigned char>(token[k + 2])) ||
            std::sscanf(token.c_str() + k + 1, "%2x", &byte) != 1)
            return false;
        text += static_cast<char>(byte);
        k += 2;
    }
    return true;
}

std::string format_word(char kind, std::uint32_t w) {
    if (kind == 't') return format_text(text_of(w));
    char text[16];
    if (kind == 'f') {
        std::snprintf(text, sizeof text, "%08" PRIx32, w);
    } else {
        std::snprintf(text, sizeof text, "%" PRId32, int_of(w));
    }
    return text;
}

bool parse_word(char kind, const std::string &token, std::uint32_t &w) {
    if (kind == 't') {
        std::string text;
        if (!parse_text(token, text)) return false;
        w = text_word(text);
        return true;
    }
    char *end = nullptr;
    errno = 0;
    if (kind == 'f') {
        const unsigned long v = std::strtoul(token.c_str(), &end, 16);
        w = static_cast<std::uint32_t>(v);
        return token.size() == 8 && *end == '\0' && errno == 0;
    }
    const long long v = std::strtoll(token.c_str(), &end, 10);
    w = static_cast<std::uint32_t>(static_cast<std::int32_t>(v));
    return !token.empty() && *end == '\0' && errno == 0 && v >= INT32_MIN && v <= INT32_MAX;
}

std::string format_words(const std::string &kinds, const Words &words) {
    std::string text;
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (i != 0) text += ' ';
        text += format_word(kinds[i], words[i]);
    }
    return text;
}

const Calculation *find_calculation(const std::string &name) {
    static const std::map<std::string, const Calculation *> index = [] {
        std::map<std::string, const Calculation *> m;
        for (const Family &f : families()) {
            for (const Calculation &c : f.calculations) m[c.name] = &c;
        }
        return m;
    }();
    const auto it = index.find(name);
    return it == index.end() ? nullptr : it->second;
}

// The target, as the marks name it. The sign a NaN ends up with is not the
// same on these: an invalid operation makes a negative NaN on x86 and a
// positive one on ARM; ARM's soft-float routines subtract a NaN by flipping
// its sign first; the compilers keep or flip the sign of a NaN in different
// places (negations, conversions). IEEE 754 leaves all of that open.
std::string nan_behaviour() {
#if defined(__x86_64__)
    return "nan@x86_64";
#elif defined(__i386__)
    return "nan@i386";
#elif defined(__aarch64__)
    return "nan@aarch64";
#elif defined(__arm__) && defined(__SOFTFP__)
    return "nan@armel";
#elif defined(__arm__)
    return "nan@armhf";
#elif defined(__mips__) && defined(__MIPSEL__)
    return "nan@mipsel";
#elif defined(__s390x__)
    return "nan@s390x";
#else
    return "nan@other";
#endif
}

// Whether computing the vector met a NaN: a NaN among the inputs, or an
// invalid operation (which makes or compares a NaN) on the way. Only such a
// vector's outputs can depend on a NaN's sign.
bool meets_nan(const Calculation &c, const Words &in) {
    for (std::size_t k = 0; k < in.size(); ++k) {
        if (c.inputs[k] == 'f' && std::isnan(from_bits(in[k]))) return true;
    }
    std::feclearexcept(FE_ALL_EXCEPT);
    (void)c.compute(in);
    return std::fetestexcept(FE_INVALID) != 0;
}

int generate(const std::string &family_name) {
    for (const Family &f : families()) {
        if (f.name != family_name) continue;
        std::printf("# viewgeo conformance vectors: %s\n# %s\n", f.name.c_str(), f.description.c_str());
        std::printf("# Written by viewgeo_conformance generate %s; i words decimal, f words float bits in hex.\n",
                    f.name.c_str());
        std::printf("# nan-behaviour: %s\n", nan_behaviour().c_str());
        for (const Calculation &c : f.calculations) {
            std::printf("# %s %s : %s\n", c.name.c_str(), c.inputs.c_str(), c.outputs.c_str());
        }
        // One stream per calculation, so that adding one leaves the others' vectors as they are.
        for (const Calculation &c : f.calculations) {
            Rng rng(kStartState ^ name_hash(c.name));
            for (int n = 0; n < c.count; ++n) {
                const Words in = c.sample(rng);
                if (in.size() != c.inputs.size()) {
                    std::fprintf(stderr, "%s: sampler gives %zu words, expected %zu\n", c.name.c_str(), in.size(), c.inputs.size());
                    return 2;
                }
                const Words out = c.compute(in);
                std::printf("%s %s : %s\n", c.name.c_str(), format_words(c.inputs, in).c_str(),
                            format_words(c.outputs, out).c_str());
            }
        }
        return 0;
    }
    std::fprintf(stderr, "unknown family %s\n", family_name.c_str());
    return 2;
}

// One parsed line of a vector file.
struct Vector {
    const Calculation *calc = nullptr;
    Words in;
    Words out;
    std::map<std::string, Words> nan_outputs;  // NaN behaviour -> outputs
    std::map<std::size_t, std::uint32_t> libm;  // output -> allowed difference
};

bool read_words(std::istringstream &s, const std::string &kinds, Words &words) {
    words.clear();
    for (char kind : kinds) {
        std::string token;
        std::uint32_t w = 0;
        if (!(s >> token) || !parse_word(kind, token, w)) return false;
        words.push_back(w);
    }
    return true;
}

bool parse_vector(const std::string &line, Vector &v, std::string &error) {
    std::istringstream s(line);
    std::string name, token;
    s >> name;
    v.calc = find_calculation(name);
    if (v.calc == nullptr) return error = "unknown calculation " + name, false;
    if (!read_words(s, v.calc->inputs, v.in)) return error = "bad inputs", false;
    if (!(s >> token) || token != ":") return error = "missing ':'", false;
    if (!read_words(s, v.calc->outputs, v.out)) return error = "bad outputs", false;
    while (s >> token) {
        if (token != "!") return error = "unexpected " + token, false;
        std::string mark;
        s >> mark;
        if (mark.rfind("nan@", 0) == 0) {
            if (!read_words(s, v.calc->outputs, v.nan_outputs[mark])) return error = "bad " + mark + " outputs", false;
        } else if (mark == "libm") {
            std::string tolerance;
            while (s >> tolerance && tolerance != "!") {
                unsigned k = 0, n = 0;
                if (std::sscanf(tolerance.c_str(), "%u:%u", &k, &n) != 2 || k >= v.calc->outputs.size())
                    return error = "bad libm tolerance " + tolerance, false;
                v.libm[k] = n;
            }
            if (tolerance == "!") s.seekg(-1, std::ios_base::cur);
        } else {
            return error = "unknown mark " + mark, false;
        }
    }
    return true;
}

// Distance between two words: integers by value, floats in ulps (ordered
// bit patterns; NaNs only match NaNs of the same bits).
std::uint64_t distance(char kind, std::uint32_t a, std::uint32_t b) {
    if (kind == 'i') return static_cast<std::uint64_t>(std::llabs(static_cast<long long>(int_of(a)) - int_of(b)));
    if (std::isnan(from_bits(a)) || std::isnan(from_bits(b))) return a == b ? 0 : UINT64_MAX;
    auto ordered = [](std::uint32_t w) -> std::int64_t {
        return (w >> 31) ? -static_cast<std::int64_t>(w & 0x7FFFFFFFu) : static_cast<std::int64_t>(w);
    };
    return static_cast<std::uint64_t>(std::llabs(ordered(a) - ordered(b)));
}

std::string file_nan_behaviour(const char *path) {
    std::ifstream file(path);
    std::string line;
    const std::string key = "# nan-behaviour: ";
    while (std::getline(file, line)) {
        if (line.rfind(key, 0) == 0) return line.substr(key.size());
    }
    return "";
}

template <typename Each>
int for_each_vector(const char *path, Each each) {
    std::ifstream file(path);
    if (!file) {
        std::fprintf(stderr, "cannot read %s\n", path);
        return 2;
    }
    std::string line;
    int number = 0;
    while (std::getline(file, line)) {
        ++number;
        if (line.empty() || line[0] == '#') {
            each(number, line, nullptr);
            continue;
        }
        Vector v;
        std::string error;
        if (!parse_vector(line, v, error)) {
            std::fprintf(stderr, "%s:%d: %s\n", path, number, error.c_str());
            return 2;
        }
        each(number, line, &v);
    }
    return 0;
}

int check(const char *path) {
    const std::string mine = nan_behaviour();
    const std::string theirs = file_nan_behaviour(path);
    long total = 0, failed = 0, nan_marked = 0, libm_marked = 0, other_variant = 0;
    const int r = for_each_vector(path, [&](int number, const std::string &, const Vector *v) {
        if (v == nullptr) return;
        ++total;
        const Words got = v->calc->compute(v->in);
        const auto alternative = v->nan_outputs.find(mine);
        const Words &expected = mine != theirs && alternative != v->nan_outputs.end() ? alternative->second : v->out;
        nan_marked += !v->nan_outputs.empty();
        libm_marked += !v->libm.empty();
        auto matches = [&](const Words &want) {
            for (std::size_t k = 0; k < got.size(); ++k) {
                const auto tol = v->libm.find(k);
                const std::uint64_t allowed = tol == v->libm.end() ? 0 : tol->second;
                if (distance(v->calc->outputs[k], got[k], want[k]) > allowed) return false;
            }
            return true;
        };
        // The array form, where there is one, must give the single-point
        // bits in every element.
        bool array_ok = true;
        if (v->calc->compute_array) {
            const Words all = v->calc->compute_array(v->in);
            for (std::size_t k = 0; k < all.size(); ++k) array_ok = array_ok && all[k] == got[k % got.size()];
        }
        bool ok = matches(expected);
        if (!ok && !v->nan_outputs.empty()) {
            // The compiler does not keep a NaN's sign either: another
            // optimisation level of the same target may give the outputs
            // recorded for another target. Any recorded variant passes.
            ok = matches(v->out);
            for (const auto &variant : v->nan_outputs) ok = ok || matches(variant.second);
            other_variant += ok;
        }
        if (!array_ok) {
            ok = false;
            std::printf("%s:%d: %s: the array form differs from the single-point form\n", path, number,
                        v->calc->name.c_str());
        }
        if (!ok) {
            ++failed;
            if (failed <= 50) {
                std::printf("%s:%d: %s %s\n    expected %s\n    got      %s\n", path, number, v->calc->name.c_str(),
                            format_words(v->calc->inputs, v->in).c_str(),
                            format_words(v->calc->outputs, expected).c_str(),
                            format_words(v->calc->outputs, got).c_str());
            }
        }
    });
    if (r != 0) return r;
    std::printf("%s: %ld vectors, %ld differ (this target %s, the file %s; %ld depend on a NaN's sign, %ld of them gave "
                "another target's variant; %ld have a libm tolerance)\n",
                path, total, failed, mine.c_str(), theirs.c_str(), nan_marked, other_variant, libm_marked);
    return total > 0 && failed == 0 ? 0 : 1;
}

int outputs(const char *path) {
    std::printf("# nan-behaviour: %s\n", nan_behaviour().c_str());
    return for_each_vector(path, [&](int, const std::string &line, const Vector *v) {
        if (v == nullptr) {
            if (line.rfind("# nan-behaviour: ", 0) == 0) return;
            std::printf("%s\n", line.c_str());
            return;
        }
        std::printf("%s %s : %s\n", v->calc->name.c_str(), format_words(v->calc->inputs, v->in).c_str(),
                    format_words(v->calc->outputs, v->calc->compute(v->in)).c_str());
    });
}

// Adds the other target's outputs as a NaN mark where they differ and the
// vector meets a NaN here; any other difference is reported and fails.
int merge(const char *path, const char *other_path, bool libm) {
    const std::string other = file_nan_behaviour(other_path);
    if (other.empty() || other == file_nan_behaviour(path)) {
        std::fprintf(stderr, "%s: no NaN behaviour to merge\n", other_path);
        return 2;
    }
    std::ifstream other_file(other_path);
    std::string other_line;
    long unexplained = 0;
    const int r = for_each_vector(path, [&](int number, const std::string &line, const Vector *v) {
        if (v == nullptr) {
            std::printf("%s\n", line.c_str());
            return;
        }
        do {
            std::getline(other_file, other_line);
        } while (other_file && (other_line.empty() || other_line[0] == '#'));
        const std::size_t colon = other_line.find(" : ");
        std::istringstream s(colon == std::string::npos ? "" : other_line.substr(colon + 3));
        Words theirs;
        if (!read_words(s, v->calc->outputs, theirs)) {
            std::fprintf(stderr, "%s: no outputs for line %d\n", other_path, number);
            ++unexplained;
            return;
        }
        bool within = true;
        for (std::size_t k = 0; k < theirs.size(); ++k) {
            const auto tol = v->libm.find(k);
            if (distance(v->calc->outputs[k], theirs[k], v->out[k]) > (tol == v->libm.end() ? 0 : tol->second)) within = false;
        }
        if (within || v->nan_outputs.count(other) != 0) {
            std::printf("%s\n", line.c_str());
        } else if (meets_nan(*v->calc, v->in)) {
            std::printf("%s ! %s %s\n", line.c_str(), other.c_str(), format_words(v->calc->outputs, theirs).c_str());
        } else if (libm) {
            std::string marks;
            for (std::size_t k = 0; k < theirs.size(); ++k) {
                const std::uint64_t d = distance(v->calc->outputs[k], theirs[k], v->out[k]);
                const auto old = v->libm.find(k);
                if (d != 0 && (old == v->libm.end() || old->second < d)) marks += " " + std::to_string(k) + ":" + std::to_string(d);
            }
            std::printf("%s ! libm%s\n", line.c_str(), marks.c_str());
            std::fprintf(stderr, "%s:%d: libm tolerance%s for %s\n", path, number, marks.c_str(), other.c_str());
        } else {
            std::printf("%s\n", line.c_str());
            std::fprintf(stderr, "%s:%d: differs without a NaN: %s on %s\n", path, number,
                         format_words(v->calc->outputs, theirs).c_str(), other.c_str());
            ++unexplained;
        }
    });
    return r != 0 ? r : unexplained != 0 ? 1 : 0;
}

}  // namespace
}  // namespace conformance

int main(int argc, char **argv) {
    using namespace conformance;
    if (argc == 3 && std::strcmp(argv[1], "generate") == 0) return generate(argv[2]);
    if (argc == 3 && std::strcmp(argv[1], "check") == 0) return check(argv[2]);
    if (argc == 3 && std::strcmp(argv[1], "outputs") == 0) return outputs(argv[2]);
    if (argc == 4 && std::strcmp(argv[1], "merge") == 0) return merge(argv[2], argv[3], false);
    if (argc == 5 && std::strcmp(argv[1], "merge") == 0 && std::strcmp(argv[4], "libm") == 0) return merge(argv[2], argv[3], true);
    if (argc == 2 && std::strcmp(argv[1], "families") == 0) {
        for (const Family &f : families()) std::printf("%s\n", f.name.c_str());
        return 0;
    }
    std::fprintf(stderr, "usage: %s generate FAMILY | check FILE | outputs FILE | merge FILE OUTPUTS [libm] | families\n", argv[0]);
    return 2;
}
