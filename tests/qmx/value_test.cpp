#include "qmx/qmxDictionary.h"
#include "qmx/qmxValue.h"
#include "support/model.h"

#include <gtest/gtest.h>

namespace {

int here = 0;

// What a value gives through each conversion, and its text.
struct Row {
    char const* name;
    QMXValue value;
    int type;
    bool asBool;
    long asLong;
    double asDouble;
    std::string asString;
    Texts asList;
    std::string text;
};

std::vector<Row> rows(QMXDictionary* filled) {
    QMXValue empty;
    empty.set();
    QMXDictionary* const none = nullptr;
    return {
        {"null", QMXValue(), 0, false, 0, 0.0, "<null>", {}, "a"},
        {"empty", empty, 1, false, 0, 0.0, "<null>", {}, "b"},
        {"false", QMXValue(false), 2, false, 0, 0.0, "false", {"false"}, "cfalse"},
        {"true", QMXValue(true), 2, true, 1, 1.0, "true", {"true"}, "ctrue"},
        {"long", QMXValue(-1L), 3, true, -1, -1.0, "-1", {"-1"}, "d-1"},
        {"double", QMXValue(-2.75), 4, true, -2, -2.75, "-2.75", {"-2.75"}, "e-2!2e75"},
        {"large", QMXValue(1000000.0), 4, true, 1000000, 1e6, "1e+06", {"1e+06"}, "e1e!2b06"},
        {"huge", QMXValue(1e300), 4, true, 0, 1e300, "1e+300", {"1e+300"}, "e1e!2b300"},
        {"pointer", QMXValue(static_cast<void*>(&here)), 6, false, 0, 0.0, "<null>", {}, "g"},
        {"number in text", QMXValue(TStr(" 42")), 7, true, 42, 42.0, " 42", {" 42"}, "h!2042"},
        {"real in text", QMXValue(TStr("1.5e1")), 7, true, 0, 15.0, "1.5e1", {"1.5e1"}, "h1!2e5e1"},
        {"empty text", QMXValue(TStr("")), 7, true, 0, 0.0, "", {""}, "h"},
        {"no text", QMXValue(TStr::null), 7, false, 0, 0.0, "<null>", {"<null>"}, "h"},
        {"list", QMXValue(listOf({"a b"})), 9, true, 0, 0.0, "#1:a!20b", {"a b"}, "j!231!3aa!2120b"},
        {"no list", QMXValue(TList<TStr>()), 9, true, 0, 0.0, "#0:", {}, "j!230!3a"},
        {"dictionary", QMXValue(filled), 8, true, 0, 0.0, "k=d1", {"Value Table"}, "ik!3dd1"},
        {"no dictionary", QMXValue(none), 8, false, 0, 0.0, "<null>", {"Value Table"}, "i"},
    };
}

TEST(Value, ConvertsByItsTypeAndComesBackFromItsText) {
    QMXDictionary filled;
    filled.set("k", 1L);
    std::vector<Row> all = rows(&filled);
    for (Row& row : all) {
        SCOPED_TRACE(row.name);
        QMXValue const& same = row.value;
        row.value = same;
        const QMXValue copy(row.value);
        for (QMXValue const* value : {&same, &copy}) {
            EXPECT_EQ(value->type(), row.type);
            EXPECT_EQ(value->asBool(), row.asBool);
            EXPECT_EQ(value->asLong(), row.asLong);
            EXPECT_EQ(value->asDouble(), row.asDouble);
            EXPECT_EQ(textOf(value->asString()), row.asString);
            EXPECT_EQ(textsOf(value->asStringList()), row.asList);
            EXPECT_EQ(value->asVoidPointer(), row.type == 6 ? &here : nullptr);
            EXPECT_EQ(value->asDictionary(), row.type == 8 && row.asBool ? &filled : nullptr);
            EXPECT_EQ(textOf(value->marshal()), row.text);
        }
        const bool owns = row.type == 4 || row.type == 7 || row.type == 9;
        EXPECT_EQ(copy == row.value, !owns) << "equal by identity of what it holds";
        EXPECT_TRUE(same == row.value);
        EXPECT_FALSE(same == QMXValue(4711L));

        Reports reports;
        const bool lost = row.type <= 1 || row.type == 6;
        const QMXValue back = QMXValue::unmarshal(row.text.c_str());
        EXPECT_EQ(reports.take(),
                  lost ? Texts{"Error  could not unmarshal data value " + row.text} : Texts());
        EXPECT_EQ(back.type(), lost ? 0 : row.type);
        EXPECT_EQ(textOf(back.marshal()), lost ? "a" : row.text);
    }
    all.clear();
    filled.retain();
    EXPECT_EQ(filled.release(), 1);
}

TEST(Value, AnyTextGivesAValueOrAReport) {
    std::tuple<char const*, int, char const*, Texts> const cases[] = {
        {"", 0, "<null>", {}},
        {"d12x", 3, "0", {}},
        {"d!31!32", 3, "12", {}},
        {"d-9223372036854775808", 3, "-9223372036854775808", {}},
        {"d9223372036854775808", 3, "0", {}},
        {"d+7", 3, "7", {}},
        {"d-", 3, "0", {}},
        {"e", 4, "0", {}},
        {"einf", 4, "inf", {}},
        {"ctru!65", 2, "true", {}},
        {"cTRUE", 2, "false", {}},
        {"h!zz", 7, "", {"Error  Could not decode escape in string: !zz (zz)"}},
        {"jx", 9, "x", {}},
        {"f1", 0, "<null>", {"Error  could not unmarshal data value f1"}},
        {"\xC3\xA9", 0, "<null>", {"Error  could not unmarshal data value \xC3\xA9"}},
        {"ik!3dx,", 8, "k=a", {"Error  could not unmarshal data value x"}},
    };
    for (auto const& [text, type, string, expected] : cases) {
        SCOPED_TRACE(text);
        Reports reports;
        const QMXValue value = QMXValue::unmarshal(text);
        EXPECT_EQ(reports.take(), expected);
        EXPECT_EQ(value.type(), type);
        EXPECT_EQ(textOf(value.asString()), string);
    }
}

TEST(Value, PlainTextIsNoBoolean) {
    QMXValue value;
    value.set("x");
    EXPECT_EQ(value.type(), 7);

    // Made from a plain text it has no type, yet owns the text.
    QMXValue untyped("x");
    EXPECT_TRUE(QMXValue(untyped).isNull());
    EXPECT_TRUE(untyped == QMXValue());
    untyped.set(2L);
    EXPECT_EQ(untyped.asLong(), 2);
}

TEST(Value, TakesWhatItHoldsItself) {
    auto* only = new QMXDictionary();
    QMXValue holder(only);
    ASSERT_EQ(only->release(), 1);
    holder.set(holder.asDictionary());
    EXPECT_EQ(textOf(holder.marshal()), "i");
    // A dictionary within it, which goes when it goes.
    QMXDictionary* inner = new QMXDictionary();
    only->set("in", inner);
    inner->release();
    holder.set(inner);
    EXPECT_EQ(holder.asDictionary(), inner);
}

} // namespace
