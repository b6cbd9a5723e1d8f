#include "qmx/qmxValue.h"

#include "orbuutil/c_stropsPrivate.h"
#include "qmx/qmxDictionary.h"
#include "qmx/qmxMarshal.h"
#include "qmx/qmxTextPrivate.h"

#include <bit>
#include <utility>

namespace {

template <typename T>
long slot_of(T* pointer) {
    return reinterpret_cast<long>(pointer);
}

template <typename T>
T* pointer_in(long slot) {
    return reinterpret_cast<T*>(slot);
}

// What a value keeps of a string: a null text stands for a TStr without a handle.
str* copy_text(TStr const& text) { return text.handle() != nullptr ? str_dup(text.handle()) : str_init(); }

str* copy_kept(str const* text) { return str_null(text) ? str_init() : str_dup(text); }

TStr text_in(long slot) {
    str const* kept = pointer_in<str>(slot);
    return str_null(kept) ? TStr(TStr::null) : TStr(static_cast<void*>(str_dup(kept)));
}

TList<TStr> list_of(TStr const& item) {
    TList<TStr> list;
    list_push(list.handle(), &item);
    return list;
}

long retained(QMXDictionary* dictionary) {
    if (dictionary != nullptr) {
        dictionary->retain();
    }
    return slot_of(dictionary);
}

// Gives back what a value owns or holds.
void drop(int type, long slot) {
    switch (type) {
    case QMXValue::TypeDictionary:
        if (slot != 0) {
            pointer_in<QMXDictionary>(slot)->release();
        }
        break;
    case QMXValue::TypeNull: // holds a text only when it was made from a plain one
    case QMXValue::TypeString:
        str_uninit(pointer_in<str>(slot));
        break;
    default: // the text of a list stays, and nothing else is owned
        break;
    }
}

} // namespace

// What is made here is not the last thing done, so that these frames are in the allocation's trace.
[[gnu::noinline]] str* private_qmx_keep_list(TList<TStr> const& list) {
    str* kept = private_marshal_list(list);
    return kept != nullptr ? kept : str_init();
}

[[gnu::noinline]] str* private_qmx_keep_list_text(char const* escaped, long bytes) {
    str* kept = private_unmarshal_bytes(escaped, bytes);
    return kept != nullptr ? kept : str_init();
}

[[gnu::noinline]] str* private_qmx_keep_list_copy(str const* text) {
    str* kept = str_dup(text);
    return kept != nullptr ? kept : str_init();
}

QMXValue::QMXValue() : mType(TypeNull), mSlot(0) {}

QMXValue::QMXValue(bool value) : mType(TypeBool), mSlot(value ? 1 : 0) {}

QMXValue::QMXValue(void* value) : mType(TypePointer), mSlot(slot_of(value)) {}

QMXValue::QMXValue(char const* value) : mType(TypeNull), mSlot(slot_of(copy_text(TStr(value)))) {}

QMXValue::QMXValue(TStr const& value) : mType(TypeString), mSlot(slot_of(copy_text(value))) {}

QMXValue::QMXValue(TList<TStr> const& value)
    : mType(TypeStringList), mSlot(slot_of(private_qmx_keep_list(value))) {}

QMXValue::QMXValue(int value) : QMXValue(static_cast<long>(value)) {}

QMXValue::QMXValue(long value) : mType(TypeLong), mSlot(value) {}

QMXValue::QMXValue(double const& value) : mType(TypeDouble), mSlot(std::bit_cast<long>(value)) {}

QMXValue::QMXValue(QMXDictionary* value) : mType(TypeDictionary), mSlot(retained(value)) {}

QMXValue::QMXValue(QMXValue const& other) : QMXValue() { *this = other; }

QMXValue::~QMXValue() { drop(mType, mSlot); }

// The new content is ready before the old one goes: it may have come from there.
void QMXValue::install(int type, long slot) {
    const int oldType = std::exchange(mType, type);
    const long oldSlot = std::exchange(mSlot, slot);
    drop(oldType, oldSlot);
}

QMXValue& QMXValue::operator=(QMXValue const& other) {
    if (this == &other) {
        return *this;
    }
    switch (other.mType) {
    case TypeBool:
    case TypeLong:
    case TypeDouble:
    case TypePointer:
        install(other.mType, other.mSlot);
        break;
    case TypeString:
        install(TypeString, slot_of(copy_kept(pointer_in<str>(other.mSlot))));
        break;
    case TypeStringList:
        install(TypeStringList, slot_of(private_qmx_keep_list_copy(pointer_in<str>(other.mSlot))));
        break;
    case TypeDictionary:
        install(TypeDictionary, retained(other.asDictionary()));
        break;
    case TypeEmpty:
        set();
        break;
    default:
        clear();
        break;
    }
    return *this;
}

bool QMXValue::operator==(QMXValue const& other) const {
    if (mType != other.mType) {
        return false;
    }
    switch (mType) {
    case TypeNull:
    case TypeEmpty:
        return true;
    case TypeDouble:
    case TypeString:
    case TypeStringList:
        return this == &other; // no two values share what these hold
    default:
        return mSlot == other.mSlot;
    }
}

int QMXValue::type() const { return mType; }

bool QMXValue::isNull() const { return mType == TypeNull; }

bool QMXValue::isEmpty() const { return mType == TypeEmpty; }

void QMXValue::set() { install(TypeEmpty, 0); }

void QMXValue::set(bool value) { install(TypeBool, value ? 1 : 0); }

void QMXValue::set(int value) { install(TypeLong, value); }

void QMXValue::set(long value) { install(TypeLong, value); }

void QMXValue::set(double const& value) { install(TypeDouble, std::bit_cast<long>(value)); }

void QMXValue::set(void* value) { install(TypePointer, slot_of(value)); }

void QMXValue::set(char const* value) { install(TypeString, slot_of(copy_text(TStr(value)))); }

void QMXValue::set(TStr const& value) { install(TypeString, slot_of(copy_text(value))); }

void QMXValue::set(QMXDictionary* value) { install(TypeDictionary, retained(value)); }

void QMXValue::set(TList<TStr> const& value) {
    install(TypeStringList, slot_of(private_qmx_keep_list(value)));
}

void QMXValue::clear() { install(TypeNull, 0); }

bool QMXValue::asBool() const {
    switch (mType) {
    case TypeBool:
    case TypeLong:
    case TypeDictionary:
        return mSlot != 0;
    case TypeDouble:
        return asDouble() != 0.0;
    case TypeString:
    case TypeStringList:
        return !str_null(pointer_in<str>(mSlot));
    default:
        return false;
    }
}

long QMXValue::asLong() const {
    switch (mType) {
    case TypeBool:
    case TypeLong:
        return mSlot;
    case TypeDouble: {
        const double value = asDouble();
        return value >= -0x1p63 && value < 0x1p63 ? static_cast<long>(value) : 0;
    }
    case TypeString:
        return str_to_long(pointer_in<str>(mSlot), nullptr, 10);
    default:
        return 0;
    }
}

double QMXValue::asDouble() const {
    switch (mType) {
    case TypeBool:
    case TypeLong:
        return static_cast<double>(mSlot);
    case TypeDouble:
        return std::bit_cast<double>(mSlot);
    case TypeString:
        return str_to_double(pointer_in<str>(mSlot), nullptr);
    default:
        return 0.0;
    }
}

void* QMXValue::asVoidPointer() const { return mType == TypePointer ? pointer_in<void>(mSlot) : nullptr; }

TStr QMXValue::asString() const {
    switch (mType) {
    case TypeBool:
        return TStr(mSlot != 0 ? "true" : "false");
    case TypeLong:
        return TStr::number(mSlot, 10);
    case TypeDouble:
        return TStr::number(asDouble(), 'g', 6);
    case TypeString:
    case TypeStringList:
        return text_in(mSlot);
    case TypeDictionary:
        return mSlot != 0 ? asDictionary()->marshal() : TStr::null;
    default:
        return TStr::null;
    }
}

TList<TStr> QMXValue::asStringList() const {
    switch (mType) {
    case TypeBool:
    case TypeLong:
    case TypeDouble:
    case TypeString:
        return list_of(asString());
    case TypeDictionary:
        return list_of("Value Table");
    case TypeStringList:
        return unmarshalStringList(asString());
    default:
        return TList<TStr>();
    }
}

QMXDictionary* QMXValue::asDictionary() const {
    return mType == TypeDictionary ? pointer_in<QMXDictionary>(mSlot) : nullptr;
}

TStr QMXValue::marshal() const {
    QMXTextWriter writer;
    QMXText::writeValue(writer, *this, nullptr);
    return writer.text();
}

QMXValue QMXValue::unmarshal(TStr const& text) {
    QMXValue value;
    QMXText::readValue(value, private_str_text_or_empty(text.handle()), private_str_extent(text.handle()), 0);
    return value;
}

void QMXText::swap(QMXValue& a, QMXValue& b) {
    std::swap(a.mType, b.mType);
    std::swap(a.mSlot, b.mSlot);
}
