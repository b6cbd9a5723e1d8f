#include "rows.h"

#include <map>

std::string sampleText(const std::string& kind, unsigned long bytes) {
    static const std::map<std::string, std::string> pieces = {
        {"ascii", "The quick brown fox jumps over the lazy dog 0123456789 "},
        {"latin", "Größe, façade, señor, déjà vu, smörgåsbord, naïve, Ångström. "},
        {"cjk", "文字列の変換速度を測定するための例文です。汉字测试文本。"},
        {"sentence", "Could not open \"/var/tmp/data 7.csv\": permission denied (größe: 12 kB); try again? "},
    };
    const std::string& piece = pieces.at(kind);
    std::string text;
    while (text.size() < bytes) {
        text += piece;
    }
    unsigned long end = bytes;
    while (end > 0 && end < text.size() && (static_cast<unsigned char>(text[end]) & 0xc0) == 0x80) {
        --end; // not in the middle of a character
    }
    text.resize(end);
    return text;
}
