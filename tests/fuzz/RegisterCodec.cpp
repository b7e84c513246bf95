#include "RegisterFields.h"

#include "Fuzz.h"

namespace {

using namespace Zevrin;

void Run(const std::uint8_t* bytes, std::size_t size) {
    InputReader input(bytes, size);
    const unsigned int first = input.TakeByte() % 32;
    const RegisterField field{first, first + input.TakeByte() % (32 - first)};
    const unsigned int word = input.TakeWord();
    const unsigned int value = input.TakeWord();
    const unsigned int put = field.Put(word, value);
    Require(field.Get(put) == (value & field.GetMax()), "what was put is got");
    Require((put & ~field.GetMask()) == (word & ~field.GetMask()), "all other bits stay");
    Require(field.Put(word, field.Get(word)) == word, "putting what is there changes nothing");
    Require(field.Make(value) == field.Put(0, value), "a word is made as it is put together");
    const unsigned int flags = GetFlags(word, field);
    for (unsigned int number = 0; number < 32; ++number) {
        const bool isListed = first + number <= field.last && (word & RegisterBit(first + number)) != 0;
        Require((flags >> number & 1) == (isListed ? 1U : 0U), "flag n is the n-th bit of the field");
    }
}

const FuzzHarness kHarness("RegisterCodec", Run);

}  // namespace
