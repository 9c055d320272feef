#include "fuzz/mutator.h"

#include <algorithm>
#include <utility>

namespace kq_fuzz {

namespace {

std::vector<std::string> WithSomething(std::vector<std::string> corpus) {
    if (corpus.empty())
        corpus.emplace_back(1, '\0');
    return corpus;
}

} // namespace

Mutator::Mutator(std::vector<std::string> corpus, std::size_t longest, std::uint32_t seed)
    : corpus_(WithSomething(std::move(corpus))), longest_(longest), random_(seed) {}

std::string Mutator::Next() {
    std::string input = AnyOfCorpus();
    for (std::size_t changes = 1 + Below(8); changes != 0; --changes)
        Change(input);
    input.resize(std::min(input.size(), longest_));
    return input;
}

void Mutator::Change(std::string& input) {
    const std::size_t at = Below(input.size() + 1);
    const std::size_t length = 1 + Below(std::size_t{1} << Below(6));
    switch (Below(7)) {
        case 0:
            if (at != input.size())
                input[at] = static_cast<char>(input[at] ^ 1 << Below(8));
            break;
        case 1:
            if (at != input.size())
                input[at] = static_cast<char>(random_());
            break;
        case 2:
            input.insert(at, length, static_cast<char>(random_()));
            break;
        case 3:
            input.erase(at, length);
            break;
        case 4: { // a piece of itself, elsewhere
            const std::string piece = input.substr(Below(input.size()), length);
            input.insert(at, piece);
            break;
        }
        case 5: { // a piece of another
            const std::string& other = AnyOfCorpus();
            input.insert(at, other, Below(other.size()), length);
            break;
        }
        default: { // the rest of another
            const std::string& other = AnyOfCorpus();
            input.erase(at);
            input.append(other, Below(other.size()), std::string::npos);
        }
    }
}

} // namespace kq_fuzz
