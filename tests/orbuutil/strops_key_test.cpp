#include "orbuutil/c_stropsPrivate.h"

#include "orbuutil/c_str.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace {

unsigned long hash_by_the_byte(const std::string& text) {
    unsigned long value = 0;
    if (text.size() > 8) {
        for (int i = 7; i >= 0; --i) {
            value = value << 8 | static_cast<unsigned char>(text[static_cast<size_t>(i)]);
        }
        return value;
    }
    for (const char byte : text) {
        value = value << 8 | static_cast<unsigned long>(static_cast<signed char>(byte));
    }
    return value;
}

} // namespace

// The key looks at eight bytes at once and must tell what the plain functions tell, whatever stands behind
// the NUL of a text that was cut.
TEST(StrKey, TellsWhatTheTextTells) {
    std::mt19937 random(11);
    std::vector<str*> strings = {nullptr, str_init()};
    for (int i = 0; i < 300; ++i) {
        std::string text;
        for (unsigned left = random() % 12; left > 0; --left) {
            text += "ab.\x7f\x80\xff"[random() % 6];
        }
        str* s = str_from_utf8(text.c_str());
        if (!text.empty() && random() % 3 == 0) {
            const size_t cut = random() % text.size();
            text.resize(cut);
            s->text[cut] = 0;
        }
        EXPECT_EQ(StrKey(s).hash(), hash_by_the_byte(text)) << text;
        EXPECT_EQ(str_hash(s), hash_by_the_byte(text)) << text;
        EXPECT_EQ(StrKey(s).isWithout('.'), !text.empty() && text.find('.') == std::string::npos) << text;
        strings.push_back(s);
    }
    EXPECT_FALSE(StrKey(nullptr).isWithout('.'));
    for (const str* a : strings) {
        for (const str* b : strings) {
            EXPECT_EQ(StrKey(a) == b, str_cmp(a, b) == 0);
        }
    }
    for (str* s : strings) {
        str_uninit(s);
    }
}
