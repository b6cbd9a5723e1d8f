#include "qmx/qmxPipePacket.h"

#include "orbuutil/c_listPrivate.h"
#include "orbuutil/c_stropsPrivate.h"
#include "orbuutil/tstrList.h"
#include "qmx/qmxLogPrivate.h"
#include "qmx/qmxTextPrivate.h"

#include <cstring>
#include <memory>

namespace {

constexpr long formatVersion = 65536;

// Gives a text new bytes without a copy in between.
void replace(TStr& text, char const* bytes, long count) {
    void* made = private_str_from_bytes(bytes, count);
    std::destroy_at(&text);
    std::construct_at(&text, made);
}

TStr name_of(TStr const& name) { return name.isNull() ? TStr("") : name; }

// One "key=value" of those that a person types.
void set_typed(QMXPipePacket& packet, TStr const& typed) {
    char const* text = private_str_text_or_empty(typed.handle());
    const long bytes = private_str_extent(typed.handle());
    char const* sign = static_cast<char const*>(std::memchr(text, '=', static_cast<size_t>(bytes)));
    if (sign != nullptr && sign != text) {
        packet.setAttribute(QMXText::slice(text, sign - text),
                            QMXText::slice(sign + 1, text + bytes - sign - 1));
    }
}

QMXPipePacket* named_packet(TStr const& name) {
    return new QMXPipePacket(name, nullptr, QMXPipe::Synchronous);
}

} // namespace

QMXPipePacket::QMXPipePacket(QMXPipe::Synchronicity synchronicity)
    : mCode(TStr::null),
      mFacility(TStr::null),
      mSessionId(0),
      mPartnerSessionId(0),
      mSequence(0),
      mSynchronicity(synchronicity) {}

QMXPipePacket::QMXPipePacket(TStr const& facilityAndCode, QMXPipePacket*,
                             QMXPipe::Synchronicity synchronicity)
    : QMXPipePacket(synchronicity) {
    QMXPipePacket::setFacilityAndCode(facilityAndCode);
}

QMXPipePacket::QMXPipePacket(TStr const& facility, TStr const& code, QMXPipePacket*,
                             QMXPipe::Synchronicity synchronicity)
    : QMXPipePacket(synchronicity) {
    QMXPipePacket::setFacility(facility);
    QMXPipePacket::setCode(code);
}

// Attributes are assigned, which puts one under a literal path where that leads. Without any the copy is the
// same.
QMXPipePacket::QMXPipePacket(QMXPipePacket const& other)
    : QMXPipeBase(other),
      mCode(other.mCode),
      mFacility(other.mFacility),
      mSessionId(other.mSessionId),
      mPartnerSessionId(other.mPartnerSessionId),
      mSequence(other.mSequence),
      mSynchronicity(other.mSynchronicity),
      mAttributes(other.mAttributes) {
    if (!isCopiedExactly()) {
        mAttributes = other.mAttributes;
    }
}

QMXPipePacket& QMXPipePacket::operator=(QMXPipePacket const& other) {
    if (this != &other) {
        QMXPipeBase::operator=(other);
        mCode = other.mCode;
        mFacility = other.mFacility;
        mSessionId = other.mSessionId;
        mPartnerSessionId = other.mPartnerSessionId;
        mSequence = other.mSequence;
        mSynchronicity = other.mSynchronicity;
        mAttributes = other.mAttributes;
    }
    return *this;
}

QMXPipePacket::~QMXPipePacket() = default;

void QMXPipePacket::take(QMXPipePacket& other) {
    if (!other.isCopiedExactly()) {
        *this = other;
        return;
    }
    mCode = other.mCode;
    mFacility = other.mFacility;
    mSessionId = other.mSessionId;
    mPartnerSessionId = other.mPartnerSessionId;
    mSequence = other.mSequence;
    mSynchronicity = other.mSynchronicity;
    mAttributes.swap(other.mAttributes);
}

TStr QMXPipePacket::facility() const { return name_of(mFacility); }

TStr QMXPipePacket::code() const { return name_of(mCode); }

TStr QMXPipePacket::facilityAndCode() const {
    QMXTextWriter writer;
    writer.append(mFacility);
    writer.append('.');
    writer.append(mCode);
    return writer.text();
}

void QMXPipePacket::setFacility(TStr const& facility) { mFacility = facility; }

void QMXPipePacket::setCode(TStr const& code) { mCode = code; }

void QMXPipePacket::setFacilityAndCode(TStr const& text) {
    char const* start = private_str_text_or_empty(text.handle());
    char const* end = start + private_str_extent(text.handle());
    char const* point = static_cast<char const*>(std::memchr(start, '.', static_cast<size_t>(end - start)));
    if (point == nullptr) {
        replace(mFacility, start, end - start);
        replace(mCode, end, 0);
        return;
    }
    replace(mFacility, start, point - start);
    replace(mCode, point + 1, end - point - 1);
}

bool QMXPipePacket::isNull() const { return mCode.isEmpty(); }

long QMXPipePacket::sessionId() const { return mSessionId; }

void QMXPipePacket::setSessionId(long id) { mSessionId = id; }

long QMXPipePacket::partnerSessionId() const { return mPartnerSessionId; }

void QMXPipePacket::setPartnerSessionId(long id) { mPartnerSessionId = id; }

long QMXPipePacket::sequence() const { return mSequence; }

void QMXPipePacket::setSequence(long sequence) { mSequence = sequence; }

QMXPipe::Synchronicity QMXPipePacket::synchronicity() const { return mSynchronicity; }

void QMXPipePacket::setSynchronicity(QMXPipe::Synchronicity synchronicity) { mSynchronicity = synchronicity; }

QMXDictionary QMXPipePacket::attributes() const { return mAttributes; }

void QMXPipePacket::setAttributes(QMXDictionary const& attributes) { mAttributes = attributes; }

void QMXPipePacket::updateAttributes(QMXDictionary const& attributes) { mAttributes.update(attributes); }

void QMXPipePacket::clearAttributes() { mAttributes.clear(); }

TList<TStr> QMXPipePacket::attributeNames() const { return mAttributes.keys(); }

TList<TStr> QMXPipePacket::attributeValues() const { return mAttributes.values(); }

bool QMXPipePacket::hasAttribute(TStr const& name) const { return mAttributes.exists(name); }

// An attribute that only a parent has is of type 1 here, so asking for the type is enough.
bool QMXPipePacket::hasLongAttribute(TStr const& name) const {
    return mAttributes.typeOf(name) == QMXValue::TypeLong;
}

bool QMXPipePacket::hasIntAttribute(TStr const& name) const { return hasLongAttribute(name); }

bool QMXPipePacket::hasStringAttribute(TStr const& name) const {
    return mAttributes.typeOf(name) == QMXValue::TypeString;
}

bool QMXPipePacket::hasStringListAttribute(TStr const& name) const {
    return mAttributes.typeOf(name) == QMXValue::TypeStringList;
}

bool QMXPipePacket::hasDictionaryAttribute(TStr const& name) const {
    return mAttributes.typeOf(name) == QMXValue::TypeDictionary;
}

TStr QMXPipePacket::attributeAsString(TStr const& name) const { return mAttributes.getString(name); }

TList<TStr> QMXPipePacket::attributeAsStringList(TStr const& name) const {
    return mAttributes.getStringList(name);
}

long QMXPipePacket::attributeAsLong(TStr const& name) const { return mAttributes.getLong(name); }

int QMXPipePacket::attributeAsInt(TStr const& name) const {
    return static_cast<int>(mAttributes.getLong(name));
}

QMXDictionary QMXPipePacket::attributeAsDictionary(TStr const& name) const {
    QMXDictionary const* dictionary = mAttributes.getDictionary(name);
    return dictionary != nullptr ? QMXDictionary(*dictionary) : QMXDictionary();
}

void QMXPipePacket::setAttribute(TStr const& name, TStr const& value, bool) {
    if (!value.isNull()) {
        mAttributes.set(name, value);
    }
}

void QMXPipePacket::setAttribute(TStr const& name, TList<TStr> const& value) { mAttributes.set(name, value); }

void QMXPipePacket::setAttribute(TStr const& name, QMXDictionary const& value) {
    mAttributes.set(name, value);
}

void QMXPipePacket::setAttribute(TStr const& name, long value) { mAttributes.set(name, value); }

void QMXPipePacket::setAttribute(TStr const& name, int value) { mAttributes.set(name, value); }

TStr QMXPipePacket::marshal(bool swapIds) const { return marshal(swapIds, ""); }

TStr QMXPipePacket::marshal(bool swapIds, char const* end) const {
    QMXTextWriter writer;
    writer.appendNumber(formatVersion);
    writer.append(';');
    writer.append(facilityAndCode());
    const long numbers[] = {swapIds ? mPartnerSessionId : mSessionId,
                            swapIds ? mSessionId : mPartnerSessionId, mSequence, mSynchronicity};
    for (const long number : numbers) {
        writer.append(';');
        writer.appendNumber(number);
    }
    QMXText::writeItems(writer, mAttributes, ';', true, nullptr);
    if (private_qmx_log_wanted()) {
        qmxLogDebug("Packet Marshalled:%1", writer.text());
    }
    writer.append(end, static_cast<long>(std::strlen(end)));
    return writer.text();
}

void QMXPipePacket::unmarshal(TStr const& line) {
    qmxLogDebug("Packet Unmarshalling:%1", line);
    StrTokens fields(private_str_text_or_empty(line.handle()), private_str_extent(line.handle()), ";");
    char const* field = nullptr;
    long bytes = 0;
    const auto pop = [&] {
        if (!fields.next(&field, &bytes) || field == nullptr) {
            field = nullptr;
            bytes = 0;
        }
    };
    const auto popLong = [&] {
        pop();
        return field != nullptr ? QMXText::readLong(field, bytes) : 0;
    };

    if (popLong() != formatVersion) {
        return;
    }
    pop();
    setFacilityAndCode(field != nullptr ? QMXText::slice(field, bytes) : TStr(TStr::null));
    mSessionId = popLong();
    mPartnerSessionId = popLong();
    mSequence = popLong();
    mSynchronicity = static_cast<QMXPipe::Synchronicity>(static_cast<int>(popLong()));
    QMXText::readItems(mAttributes, fields, 0);
}

QMXPipePacket* QMXPipePacket::packetFromCommandLine(int argc, char** argv) {
    if (argc < 2) {
        return named_packet("test.ping");
    }
    QMXPipePacket* packet = named_packet(TStr(argv[1]));
    for (int i = 2; i < argc; ++i) {
        set_typed(*packet, TStr(argv[i]));
    }
    return packet;
}

QMXPipePacket* QMXPipePacket::packetFromString(TStr const& text) {
    const TList<TStr> lines = stringSplit(text, "\n");
    list_entry const* line = list_head(lines.handle());
    if (line == nullptr) {
        return named_packet("test.ping");
    }
    QMXPipePacket* packet = named_packet(*static_cast<TStr const*>(line->value));
    while ((line = line->next) != nullptr) {
        set_typed(*packet, *static_cast<TStr const*>(line->value));
    }
    return packet;
}
