#include "qmx/qmxTranslator.h"
#include "support/model.h"

#include <gtest/gtest.h>

namespace {

TEST(Translator, TheRecordLivesUntilItsLastReleaseAndComesAnew) {
    const Texts locales = {"ru_RU", "es_ES", "fr_FR", "cs_CZ", "zh_CN", "de_DE", "ja_JP", "ko_KR",
                           "pt_PT", "pl_PL", "pt_BR", "en_CA", "hu_HU", "it_IT", "en_US", "zh_TW"};
    QMXTranslatorCache::release(); // whatever an earlier test has left
    Reports reports(true);
    QMXTranslatorCache::release(); // never retained: this makes it if need be, and destroys it
    EXPECT_EQ(reports.take(), Texts{"Deleting Translator Cache"});
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(QMXTranslatorCache::spd, nullptr);
        EXPECT_EQ(textsOf(QMXTranslatorCache::availableLocales()), locales);
        QMXTranslatorCache::retain();
        QMXTranslatorCache::retain();
        QMXTranslatorCache::reset(); // no cache yet
        QMXTranslatorCache::release();
        EXPECT_EQ(QMXTranslatorCache::translatorForLocale("dialogs", "de_DE"), nullptr);
        EXPECT_EQ(textOf(QMXTranslatorCache::localizeString("x", nullptr, nullptr)), "x");
        EXPECT_NE(QMXTranslatorCache::spd, nullptr);
        QMXTranslatorCache::release();
        EXPECT_EQ(reports.take(), Texts{"Deleting Translator Cache"});
    }
}

} // namespace
