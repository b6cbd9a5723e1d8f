#include "orbuutil/tstrList.h"

#include "orbuutil/c_listPrivate.h"
#include "orbuutil/c_stropsPrivate.h"
#include "orbuutil/tstrListPrivate.h"

void private_tlist_adopt(TList<TStr>& list, str* adopted) {
    auto* entry = static_cast<list_entry*>(memory_allocate(sizeof(list_entry)));
    entry->value = new TStr(static_cast<void*>(adopted));
    private_list_affix_entry(list.handle(), nullptr, entry);
}

TStr stringPopFront(TStr& s, const TStr& sep) {
    if (s.isEmpty())
        return TStr(static_cast<void*>(nullptr));

    str* text = s.handle();
    StrTokens tokens(text->text, private_str_extent(text), private_str_text(sep.handle()));
    const char* token = nullptr;
    long bytes = 0;
    tokens.next(&token, &bytes);
    TStr result(static_cast<void*>(token != nullptr ? private_str_from_bytes(token, bytes) : nullptr));

    if (!tokens.found) {
        s.clear();
    } else if (tokens.at == nullptr) {
        s = TStr::null;
    } else {
        // The rest moves to the front of a buffer that is then as large as a copy's.
        s.clearCachedEncoding();
        const long rest = tokens.end - tokens.at;
        std::memmove(text->text, tokens.at, static_cast<size_t>(rest));
        std::memset(text->text + rest, 0, static_cast<size_t>(text->size - rest));
        text->size = rest + 2;
    }
    return result;
}

TList<TStr> stringSplit(const TStr& s, const TStr& sep) {
    TList<TStr> list;
    StrTokens tokens(private_str_text_or_empty(s.handle()), private_str_extent(s.handle()),
                     private_str_text(sep.handle()));
    const char* token = nullptr;
    long bytes = 0;
    while (tokens.next(&token, &bytes))
        private_tlist_adopt(list, token != nullptr ? private_str_from_bytes(token, bytes) : nullptr);
    return list;
}

TStr stringJoin(const TList<TStr>& list, const TStr& sep) {
    const str* between = sep.handle();
    const long gap = private_str_extent(between);
    long total = 0;
    bool text = false; // whether anything was appended, an empty text included
    for (const list_entry* e = list_head(list.handle()); e != nullptr; e = e->next) {
        const str* item = static_cast<const TStr*>(e->value)->handle();
        total += private_str_extent(item) + (e->next != nullptr ? gap : 0);
        text = text || str_null(item) == 0 || (e->next != nullptr && str_null(between) == 0);
    }
    if (!text)
        return TStr();

    str* joined = private_str_blank(total);
    char* to = joined != nullptr ? joined->text : nullptr;
    const auto append = [&to](const str* piece, long bytes) {
        if (to == nullptr || bytes == 0)
            return;
        std::memcpy(to, piece->text, static_cast<size_t>(bytes));
        to += bytes;
    };
    for (const list_entry* e = list_head(list.handle()); e != nullptr; e = e->next) {
        const str* item = static_cast<const TStr*>(e->value)->handle();
        append(item, private_str_extent(item));
        if (e->next != nullptr)
            append(between, gap);
    }
    return TStr(static_cast<void*>(joined));
}

TStr toUpper(const TStr& s) { return s.upper(); }

char* stringToUtf8(const TStr& s) { return s.utf8_alloc(); }

unsigned short* stringToUtf16(const TStr& s) { return s.utf16_alloc(); }
