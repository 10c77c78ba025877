// The tag blob: what was decoded is encoded and decoded again without a change. The
// first byte of an input chooses the form.

#include "Fuzz.h"
#include "support/TagList.h"

std::vector<Bytes> Seeds()
{
    const NTag tags = ListOf(L"Title=\u20AC\U0001F3B5;Track=3/12;_albumart_1_Media<subdesc>x=ab");
    return {Join({{false}, Encoded(tags)}), Join({{true}, Encoded(tags, true)})};
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    if (size == 0)
        return 0;
    const bool utf8 = (bytes[0] & 1) != 0;
    const NTag first = Decoded({bytes + 1, size - 1}, utf8);
    const Bytes blob = Encoded(first, utf8);
    Require(!blob.empty(), "a list can be encoded");
    const NTag second = Decoded(blob, utf8);
    Require(first.Count() == second.Count(), "no item is lost");
    for (long i = 0; i < first.Count(); ++i)
        Require(first[i].name == second[i].name && first[i].value == second[i].value &&
                    first[i].data == second[i].data,
                "items come back as they were");
    return 0;
}
