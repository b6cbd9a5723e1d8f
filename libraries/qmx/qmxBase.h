// The root of the reference-counted classes, the static counters, and the log sink.
//
// - Ownership: an object starts at count 1, which its maker holds. retain() adds one, release() gives one
//   back and deletes the object at 0. An object on the stack or a member is never released to 0.
// - The count lives in a block of its own and belongs to the object: neither copying nor assignment moves it.
// - Threads: counts and counters are plain words and the two lock hooks do nothing here. An object is shared
//   between threads only under a lock of its owner.
#pragma once

#include "orbuutil/orbuExport.h"

class TStr;

enum QMXLogLevel { QMXLogDebug = 0, QMXLogError = 1 };

// Takes one message. It may not hand messages to the sink itself, also not by way of a packet.
typedef void (*QMXLogSink)(QMXLogLevel level, TStr const& message, void* context);

class ORBU_EXPORT QMXBase {
public:
    // All make an object at count 1.
    QMXBase();
    QMXBase(QMXBase const& other);
    // Does nothing: the count stays with the object.
    QMXBase& operator=(QMXBase const& other);
    virtual ~QMXBase();

    // Hooks for a class that owns a real lock. Here they do nothing, and lock gives 0.
    virtual long lock(long timeout);
    virtual void unlock();

    void retain();
    // Takes one off the count, deletes the object when that makes it 0, and gives the new count.
    long release();

    // The account that a class may keep of its instances; nothing in the library does at present.
    // Each increment counts one instance and `bytes` bytes, each decrement takes them off.
    static long allocatedBytes();
    static void incrementAllocatedBytes(long bytes);
    static void decrementAllocatedBytes(long bytes);

    // Hand a message to the sink: "Error <code> <message>", "Error  <message>" (two blanks), and the message
    // as it stands. Without a sink, which is how a process starts, they do nothing.
    static void logError(long code, TStr const& message);
    static void logError(TStr const& message);
    static void logDebug(TStr const& message);

    // Sets the one sink of the process; null takes it away. `context` is handed on with every message.
    static void setLogSink(QMXLogSink sink, void* context);

private:
    struct Reference {
        long count;
        long reserved;
    };

    Reference* mpReference;
};

// Counts something, and tells on standard error at its destruction when the count is not what it was at the
// start. Every access is between lock(0) and unlock().
class ORBU_EXPORT QMXBaseStaticCounter : public QMXBase {
public:
    // `name` stays with the caller and must live as long as the counter.
    QMXBaseStaticCounter(char const* name, long start);
    ~QMXBaseStaticCounter() override;

    void increment(long amount);
    void decrement(long amount);
    long value();      // the count now
    long difference(); // now, less what it was at the start

private:
    long mStart;
    long mCurrent;
    char const* mpName;
};

// The two built-in counters, both made at load time and looked at again when the process exits.
class ORBU_EXPORT QMXBasePrivate {
public:
    static QMXBaseStaticCounter mAllocatedBytes;
    static QMXBaseStaticCounter mAllocatedInstances;
};
