// The locales that the system admits, and the frame of a cache of translations by locale.
//
// The cache is a frame only: nothing loads a catalogue, so translatorForLocale gives null and localizeString
// the text as it came. All functions use one record of the process, made when it is first needed. It is not
// destroyed at exit: whoever calls retain() is to call release(). Threads: the thread that runs the conduit.
#pragma once

#include "orbuutil/orbuExport.h"
#include "orbuutil/tlist.h"
#include "orbuutil/tmap.h"
#include "orbuutil/tstr.h"

// A table from source text to translated text.
class ORBU_EXPORT QMXTranslator : public TMap<TStr, TStr> {
public:
    QMXTranslator();
    ~QMXTranslator() override;
};

extern template class TMap<TStr, QMXTranslator*>;

struct QMXTranslatorCachePrivate;

class ORBU_EXPORT QMXTranslatorCache : public TMap<TStr, QMXTranslator*> {
public:
    QMXTranslatorCache();
    ~QMXTranslatorCache() override;

    // Ensures that the record exists.
    static void create();

    // The record's own count, which starts at 0. release() destroys the record when the count before was
    // below 2, also when it was never retained; the next call makes a new one.
    static void retain();
    static void release();

    // The admitted locales in the order of their map.
    static TList<TStr> availableLocales();

    // The translator kept for a catalogue and a locale, still owned by the cache, or null.
    static QMXTranslator* translatorForLocale(TStr const& catalogue, TStr const& locale);

    // A copy of `text`; `*found`, if given, becomes false. `translator` is not looked at.
    static TStr localizeString(TStr const& text, QMXTranslator* translator, bool* found);

    // Empties the cache and deletes its translators. The record must exist.
    static void reset();

    static QMXTranslatorCachePrivate* spd; // null until first use
};
