#include "qmx/qmxTextPrivate.h"

#include "orbuutil/c_listPrivate.h"
#include "orbuutil/c_memory.h"
#include "orbuutil/c_stropsPrivate.h"
#include "qmx/qmxLogPrivate.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <typeinfo>

namespace {

TStr adopt(str* text) { return TStr(static_cast<void*>(text)); }

str const* text_of(long slot) { return reinterpret_cast<str const*>(slot); }

} // namespace

QMXTextWriter::QMXTextWriter() : mpBytes(mLocal), mLength(0), mRoom(sizeof mLocal) {}

QMXTextWriter::~QMXTextWriter() {
    if (mpBytes != mLocal) {
        memory_free(mpBytes);
    }
}

char* QMXTextWriter::grow(long count) {
    const long room = std::max(2 * mRoom, mLength + count);
    char* bytes = static_cast<char*>(memory_allocate(static_cast<unsigned long>(room)));
    std::memcpy(bytes, mpBytes, static_cast<size_t>(mLength));
    if (mpBytes != mLocal) {
        memory_free(mpBytes);
    }
    mpBytes = bytes;
    mRoom = room;
    return mpBytes + mLength;
}

void QMXTextWriter::append(char const* bytes, long count) {
    std::memcpy(reserve(count), bytes, static_cast<size_t>(count));
    mLength += count;
}

void QMXTextWriter::append(TStr const& text) {
    append(private_str_text_or_empty(text.handle()), private_str_extent(text.handle()));
}

void QMXTextWriter::appendNumber(long value) {
    mLength += private_str_digits(reserve(PRIVATE_DIGITS_ROOM), value, 10);
}

void QMXTextWriter::appendReal(double value) {
    char real[PRIVATE_REAL_ROOM];
    appendEscaped(real, private_str_real(real, 'g', 6, value));
}

void QMXTextWriter::appendEscaped(char const* bytes, long count) {
    char* to = reserve(3 * count + 3);
    mLength += private_marshal_to(to, bytes, count) - to;
}

TStr QMXTextWriter::text() const { return QMXText::slice(mpBytes, mLength); }

TStr QMXText::slice(char const* bytes, long count) { return adopt(private_str_from_bytes(bytes, count)); }

void QMXText::writeValue(QMXTextWriter& writer, QMXValue const& value, Nest const* outer) {
    writer.append(static_cast<char>('a' + value.mType));
    switch (value.mType) {
    case QMXValue::TypeBool:
        value.mSlot != 0 ? writer.append("true", 4) : writer.append("false", 5);
        break;
    case QMXValue::TypeLong:
        writer.appendNumber(value.mSlot);
        break;
    case QMXValue::TypeDouble:
        writer.appendReal(value.asDouble());
        break;
    case QMXValue::TypeString:
    case QMXValue::TypeStringList: {
        str const* text = text_of(value.mSlot);
        writer.appendEscaped(private_str_text_or_empty(text), private_str_extent(text));
        break;
    }
    case QMXValue::TypeDictionary:
        if (QMXDictionary const* dictionary = value.asDictionary()) {
            const auto inner = std::make_unique<QMXTextWriter>(); // not on the stack: they nest
            writeItems(*inner, *dictionary, ',', false, outer);
            writer.appendEscaped(inner->bytes(), inner->length());
        }
        break;
    default:
        break;
    }
}

void QMXText::writeItem(QMXTextWriter& writer, TStr const& key, QMXValue const& value, Nest const* outer) {
    writer.append(key);
    writer.append('=');
    writeValue(writer, value, outer);
}

void QMXText::writeItems(QMXTextWriter& writer, QMXDictionary const& dictionary, char separator,
                         bool separateFirst, Nest const* outer) {
    const Nest nest = {&dictionary, outer, outer != nullptr ? outer->depth + 1 : 1};
    for (; outer != nullptr; outer = outer->outer) {
        if (outer->dictionary == &dictionary) {
            return;
        }
    }
    if (nest.depth > deepest) {
        return;
    }

    bool separate = separateFirst;
    const auto item = [&](TStr const& key, QMXValue const* value) {
        if (separate) {
            writer.append(separator);
        }
        separate = true;
        if (value != nullptr) {
            writeItem(writer, key, *value, &nest);
        }
    };
    // An entry under a literal path counts only if the path leads somewhere, and then it is the literal entry
    // that is told.
    const auto listed = [&](TStr const& key) {
        item(key, dictionary.exists(key) ? dictionary._internalGetValue(key, true) : nullptr);
    };

    if (typeid(dictionary) != typeid(QMXDictionary)) {
        const TList<TStr> keys = dictionary.keys();
        for (list_entry const* e = list_head(keys.handle()); e != nullptr; e = e->next) {
            listed(*static_cast<TStr const*>(e->value));
        }
        return;
    }
    hashmap const* map = dictionary.mMap.handle();
    for (std::int32_t bucket = 0; bucket < map->bucket_count; ++bucket) {
        for (hashmap_entry const* e = map->buckets[bucket]; e != nullptr; e = e->next) {
            auto const* entry = static_cast<QMXDictionaryEntry const*>(e);
            if (entry->isPath()) {
                listed(entry->name());
            } else {
                item(entry->name(), &entry->content);
            }
        }
    }
}

long QMXText::readLong(char const* bytes, long count) {
    constexpr long digitsThatFit = 18;
    const bool negative = count > 0 && *bytes == '-';
    const long start = negative ? 1 : 0;
    bool digits = count > start && count - start <= digitsThatFit;
    long value = 0;
    for (long i = start; digits && i < count; ++i) {
        digits = bytes[i] >= '0' && bytes[i] <= '9';
        value = value * 10 + (bytes[i] - '0');
    }
    if (!digits) {
        return slice(bytes, count).toLong(nullptr, 10);
    }
    return negative ? -value : value;
}

void QMXText::readValue(QMXValue& value, char const* bytes, long count, int depth) {
    if (count < 1) {
        return;
    }
    char const* body = bytes + 1;
    const long length = count - 1;
    const char tag = *bytes;
    if (tag == 'd' && std::memchr(body, '!', static_cast<size_t>(length)) == nullptr) {
        value.set(readLong(body, length));
        return;
    }

    if (tag == 'j') {
        value.install(QMXValue::TypeStringList,
                      reinterpret_cast<long>(private_qmx_keep_list_text(body, length)));
        return;
    }

    str* text = private_unmarshal_bytes(body, length);
    switch (tag) {
    case 'h':
        value.install(QMXValue::TypeString, reinterpret_cast<long>(text));
        return;
    case 'c':
        value.set(str_utf8_cmp(text, "true") == 0);
        break;
    case 'd':
        value.set(str_to_long(text, nullptr, 10));
        break;
    case 'e':
        value.set(str_to_double(text, nullptr));
        break;
    case 'i':
        if (depth < deepest) {
            QMXDictionary* dictionary = private_qmx_keep_new_dictionary();
            value.set(dictionary);
            StrTokens items(private_str_text_or_empty(text), private_str_extent(text), ",");
            readItems(*dictionary, items, depth + 1);
            break;
        }
        [[fallthrough]];
    default:
        if (private_qmx_log_wanted()) {
            qmxLogError("could not unmarshal data value %1", slice(bytes, count));
        }
        break;
    }
    str_uninit(text);
}

bool QMXText::readItem(QMXDictionary& dictionary, char const* bytes, long count, int depth) {
    StrTokens parts(bytes, count, "=");
    char const* key = nullptr;
    long keyBytes = 0;
    char const* text = nullptr;
    long textBytes = 0;
    char const* more = nullptr;
    long moreBytes = 0;
    if (!parts.next(&key, &keyBytes) || !parts.next(&text, &textBytes) || parts.next(&more, &moreBytes)) {
        return false;
    }
    QMXValue value;
    if (text != nullptr) {
        readValue(value, text, textBytes, depth);
    }
    QMXDictionaryEntry* entry = QMXDictionaryEntry::make(key, keyBytes);
    if (entry->isPath()) {
        dictionary.store(entry->name(), value);
        QMXDictionaryEntry::destroy(entry);
    } else {
        swap(entry->content, value);
        dictionary.insert(entry, true);
    }
    return true;
}

void QMXText::readItems(QMXDictionary& dictionary, StrTokens& items, int depth) {
    char const* item = nullptr;
    long bytes = 0;
    while (items.next(&item, &bytes)) {
        readItem(dictionary, item, bytes, depth);
    }
}
