// A packet: the request or response that travels through a conduit.
//
// As text a packet is one line (without its end) of fields joined by ";":
//   65536 ; facility.code ; session id ; partner session id ; sequence ; synchronicity [; name=value]...
// The items are those of QMXDictionary::marshalItem, in the order of attributeNames(), and hold no ";".
//
// - Ownership: packets are reference counted (qmxBase.h). Everything is given and taken by value.
// - Threads: a packet belongs to one thread; it is not touched while a conduit has it.
#pragma once

#include "orbuutil/orbuExport.h"
#include "orbuutil/tlist.h"
#include "orbuutil/tstr.h"
#include "qmx/qmxDictionary.h"
#include "qmx/qmxPipe.h"
#include "qmx/qmxPipeBase.h"

class ORBU_EXPORT QMXPipePacket : public QMXPipeBase {
public:
    // All else empty or 0. The packet argument is not used: pass null.
    explicit QMXPipePacket(QMXPipe::Synchronicity synchronicity = QMXPipe::SynchronicityDefault);
    QMXPipePacket(TStr const& facilityAndCode, QMXPipePacket* unused, QMXPipe::Synchronicity synchronicity);
    QMXPipePacket(TStr const& facility, TStr const& code, QMXPipePacket* unused,
                  QMXPipe::Synchronicity synchronicity);
    QMXPipePacket(QMXPipePacket const& other);
    QMXPipePacket& operator=(QMXPipePacket const& other);
    ~QMXPipePacket() override;

    // The name. Facility and code of a packet that was never named are empty, not null.
    virtual TStr facility() const;
    virtual TStr code() const;
    virtual TStr facilityAndCode() const; // "facility.code"
    virtual void setFacility(TStr const& facility);
    virtual void setCode(TStr const& code);
    // Cuts at the first "."; without one all of it is the facility, and the code is empty.
    virtual void setFacilityAndCode(TStr const& text);
    bool isNull() const; // the code is empty

    long sessionId() const;
    void setSessionId(long id);
    long partnerSessionId() const;
    void setPartnerSessionId(long id);
    long sequence() const; // free for the caller, 0 at first; the transport only carries it
    void setSequence(long sequence);
    QMXPipe::Synchronicity synchronicity() const;
    void setSynchronicity(QMXPipe::Synchronicity synchronicity);

    // All attributes at once; what they do is told in qmxDictionary.h.
    QMXDictionary attributes() const;                       // a copy
    void setAttributes(QMXDictionary const& attributes);    // operator=
    void updateAttributes(QMXDictionary const& attributes); // update
    void clearAttributes();
    TList<TStr> attributeNames() const;  // keys
    TList<TStr> attributeValues() const; // values

    bool hasAttribute(TStr const& name) const;
    bool hasLongAttribute(TStr const& name) const;
    bool hasIntAttribute(TStr const& name) const; // the same
    bool hasStringAttribute(TStr const& name) const;
    bool hasStringListAttribute(TStr const& name) const;
    bool hasDictionaryAttribute(TStr const& name) const;

    TStr attributeAsString(TStr const& name) const;
    TList<TStr> attributeAsStringList(TStr const& name) const;
    long attributeAsLong(TStr const& name) const;
    int attributeAsInt(TStr const& name) const; // the low 32 bits
    // A copy. For an attribute that is there (see hasDictionaryAttribute; else the copy is empty), which is
    // retained once more by each call, so that it outlives the packet: hosts depend on it.
    QMXDictionary attributeAsDictionary(TStr const& name) const;

    // A null string is not stored; the flag has no effect.
    void setAttribute(TStr const& name, TStr const& value, bool flag = false);
    void setAttribute(TStr const& name, TList<TStr> const& value);
    void setAttribute(TStr const& name, QMXDictionary const& value);
    void setAttribute(TStr const& name, long value);
    void setAttribute(TStr const& name, int value); // a long

    // The line. With `swapIds` the two session ids are exchanged, which is how a packet is sent: the receiver
    // then reads them from its own side.
    TStr marshal(bool swapIds) const;

    // Fills this packet from a line and adds to its attributes. A line of another format version changes
    // nothing; a field that is missing or no number counts as 0; what is no item is skipped.
    void unmarshal(TStr const& line);

    // New packets, which the caller owns, with QMXPipe::Synchronous: the name and then "key=value" for each
    // attribute, a string, as arguments of a program (behind its own name) or as lines. What has no "=", or
    // begins with it, is skipped. Without a name it is "test.ping".
    static QMXPipePacket* packetFromCommandLine(int argc, char** argv);
    static QMXPipePacket* packetFromString(TStr const& text);

private:
    friend class QMXPipeConduit;
    friend class QMXPipeSession;

    // With an end of line behind it.
    TStr marshal(bool swapIds, char const* end) const;

    // Whether a copy of this packet is exactly like it.
    bool isCopiedExactly() const { return !mAttributes.hasPaths(); }
    // As operator=, but the other one is used up.
    void take(QMXPipePacket& other);

    TStr mCode;
    TStr mFacility;
    long mSessionId;
    long mPartnerSessionId;
    long mSequence;
    QMXPipe::Synchronicity mSynchronicity;
    QMXDictionary mAttributes;
};
