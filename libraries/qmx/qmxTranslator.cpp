#include "qmx/qmxTranslator.h"

#include "orbuutil/c_hashmapPrivate.h"
#include "orbuutil/c_listPrivate.h"
#include "orbuutil/tmapPrivate.h"
#include "orbuutil/tstrList.h"
#include "qmx/qmxLogPrivate.h"

#include <memory>
#include <utility>

template class TMap<TStr, QMXTranslator*>;

constinit QMXTranslatorCachePrivate* QMXTranslatorCache::spd = nullptr;

namespace {

constinit char const* locale_list =
    "cs_CZ de_DE en_US es_ES fr_FR hu_HU it_IT ja_JP ko_KR pl_PL pt_BR pt_PT ru_RU "
    "zh_CN zh_TW";

// Locale and fallback by turns, up to a null.
constinit char const* const locale_fallbacks[] = {"en_CA", "en_US", nullptr};

} // namespace

struct QMXTranslatorCachePrivate {
    QMXTranslatorCache* cache = nullptr;
    long references = 0;
    TMap<TStr, TStr> locales; // with the locale that it falls back to, or a null text

    QMXTranslatorCachePrivate() {
        const TList<TStr> names = stringSplit(locale_list, " ");
        for (list_entry const* e = list_head(names.handle()); e != nullptr; e = e->next) {
            hashmap_insert(locales.handle(), e->value, &TStr::null);
        }
        for (char const* const* pair = locale_fallbacks; pair[0] != nullptr; pair += 2) {
            const TStr locale(pair[0]);
            const TStr fallback(pair[1]);
            if (hashmap_has(locales.handle(), &fallback)) {
                hashmap_insert(locales.handle(), &locale, &fallback);
            }
        }
    }
};

QMXTranslator::QMXTranslator() = default;

QMXTranslator::~QMXTranslator() = default;

QMXTranslatorCache::QMXTranslatorCache() = default;

QMXTranslatorCache::~QMXTranslatorCache() = default;

void QMXTranslatorCache::create() {
    if (spd == nullptr) {
        spd = new QMXTranslatorCachePrivate();
    }
}

void QMXTranslatorCache::retain() {
    create();
    spd->references += 1;
}

void QMXTranslatorCache::release() {
    create();
    if (spd->references-- < 2) {
        qmxLogDebug("Deleting Translator Cache");
        reset();
        delete std::exchange(spd, nullptr);
    }
}

TList<TStr> QMXTranslatorCache::availableLocales() {
    create();
    return spd->locales.keys();
}

QMXTranslator* QMXTranslatorCache::translatorForLocale(TStr const& catalogue, TStr const& locale) {
    create();
    if (spd->cache == nullptr) {
        spd->cache = new QMXTranslatorCache();
    }
    const TStr key = TStr("%1:%2").arg(catalogue).arg(locale);
    QMXTranslator* const* kept = private_tmap_find<TStr, QMXTranslator*>(*spd->cache, key);
    return kept != nullptr ? *kept : nullptr;
}

TStr QMXTranslatorCache::localizeString(TStr const& text, QMXTranslator*, bool* found) {
    if (found != nullptr) {
        *found = false;
    }
    return text;
}

void QMXTranslatorCache::reset() {
    if (spd->cache == nullptr) {
        return;
    }
    // The copy keeps the translators until the cache is gone: their destructors may ask for one.
    const TMap<TStr, QMXTranslator*> kept(*spd->cache);
    delete std::exchange(spd->cache, nullptr);
    hashmap const* map = kept.handle();
    for (hashmap_entry const* e = private_hashmap_first(map); e != nullptr;
         e = private_hashmap_after(map, e)) {
        delete *static_cast<QMXTranslator**>(e->value);
    }
}
