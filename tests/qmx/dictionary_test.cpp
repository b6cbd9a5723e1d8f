#include "qmx/qmxDictionary.h"
#include "support/model.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

std::string text(QMXDictionary const& dictionary) { return textOf(dictionary.marshal()); }

struct Release {
    void operator()(QMXDictionary* dictionary) const { dictionary->release(); }
};

using Counted = std::unique_ptr<QMXDictionary, Release>;

Counted counted(QMXDictionary* parent = nullptr) { return Counted(new QMXDictionary(parent)); }

// References beside ours.
long shared(Counted const& dictionary) {
    dictionary->retain();
    return dictionary->release() - 1;
}

TEST(Dictionary, EachKindOfValueUnderItsKey) {
    int here = 0;
    Counted nested = counted();
    QMXDictionary d;
    d.set("empty");
    d.set("bool", true);
    d.set("int", 7);
    d.set("double", 1.5);
    d.set("pointer", static_cast<void*>(&here));
    d.set("chars", "plain");
    d.set("list", listOf({"a", "b"}));
    d.set("shared", nested.get());
    d.set("copied", *nested);
    d.set("nothing", static_cast<QMXDictionary*>(nullptr));
    nested->set("later", 1L);

    std::tuple<char const*, int, char const*, long> const cases[] = {
        {"empty", 1, "<null>", 0},     {"bool", 2, "true", 1},       {"int", 3, "7", 7},
        {"double", 4, "1.5", 1},       {"pointer", 6, "<null>", 0},  {"chars", 7, "plain", 0},
        {"list", 9, "#2:a,b", 0},      {"shared", 8, "later=d1", 0}, {"copied", 8, "", 0},
        {"nothing", 8, "<null>", 0},   {"absent", 1, "<null>", 0},   {"shared.later", 3, "1", 1},
        {"nothing.x", 1, "<null>", 0}, {"", 1, "<null>", 0},         {"int.", 3, "7", 7},
    };
    for (auto const& [key, type, string, number] : cases) {
        SCOPED_TRACE(key);
        EXPECT_EQ(d.typeOf(key), type);
        EXPECT_EQ(textOf(d[key]), string);
        EXPECT_EQ(d.getLong(key), number);
        EXPECT_EQ(d.getValue(key).type(), d.exists(key) ? type : 0);
    }
    EXPECT_TRUE(d.getBool("bool") && d.getDouble("double") == 1.5 && d.getPointer("pointer") == &here);
    EXPECT_EQ(d.getDictionary("nothing"), nullptr);
    EXPECT_EQ(d.getDictionary("int"), nullptr);
    Counted got(d.getDictionary("shared"));
    EXPECT_EQ(shared(nested), 2);
    d.clear();
    EXPECT_EQ(shared(nested), 1);
}

TEST(Dictionary, OrderIsByBucketThenByAge) {
    QMXDictionary d;
    // The first eight bytes decide: one bucket.
    for (char const* key : {"abcdefgh1", "abcdefgh2", "abcdefgh3", "icon", "title"}) {
        d.set(key, key);
    }
    EXPECT_EQ(textsOf(d.keys()), (Texts{"icon", "title", "abcdefgh1", "abcdefgh2", "abcdefgh3"}));
    d.set("abcdefgh1", 2L);
    d.remove("abcdefgh2");
    EXPECT_EQ(text(d), "icon=hicon,title=htitle,abcdefgh3=habcdefgh3,abcdefgh1=d2");
    EXPECT_EQ(textsOf(d.values()), (Texts{"icon", "title", "abcdefgh3", "2"}));
    EXPECT_EQ(text(QMXDictionary(d)), text(d));
}

TEST(Dictionary, ParentsAreReadOnly) {
    int here = 0;
    Counted parent = counted();
    parent->set("x", "theirs");
    parent->set("p", static_cast<void*>(&here));
    parent->set("d", *counted());
    parent->set("both", 1L);
    {
        Counted child = counted(parent.get());
        EXPECT_EQ(shared(parent), 1);
        child->set("both", 2L);
        child->set("p", 3L);
        child->set("d", 4L);
        EXPECT_EQ(textOf(child->getString("x")), "theirs");
        EXPECT_EQ(child->typeOf("x"), 1);
        EXPECT_EQ(text(*child), "both=d2,p=d3,d=d4");
        EXPECT_EQ(textOf(child->marshalItem("x")), "x=htheirs");
        // A wrong type here lets the parent speak in these two alone.
        EXPECT_EQ(child->getPointer("p"), &here);
        Counted d(child->getDictionary("d"));
        EXPECT_NE(d.get(), nullptr);
        EXPECT_EQ(child->getLong("p"), 3);

        child->remove("x");
        EXPECT_TRUE(child->exists("x"));
        child->remove("d");
        child->set("d.new", 5L); // leads into the parent's
        EXPECT_EQ(parent->getLong("d.new"), 5);

        QMXDictionary copy(*child);
        EXPECT_EQ(textOf(copy.getString("x")), "theirs");
        EXPECT_EQ(shared(parent), 2);
        copy = QMXDictionary();
        EXPECT_FALSE(copy.exists("x"));
    }
    EXPECT_EQ(shared(parent), 0);
}

TEST(Dictionary, PathsResolveThroughNestedDictionaries) {
    Counted inner = counted();
    Counted deep = counted();
    QMXDictionary d;
    d.set("a", inner.get());
    inner->set("b", deep.get());
    deep->set("c", 1L);
    inner->set("s", "text");
    d.set("null", static_cast<QMXDictionary*>(nullptr));
    std::tuple<char const*, QMXDictionary const*, char const*, char const*> const cases[] = {
        {"a.b.c", deep.get(), "c", "1"},
        {"a.s", inner.get(), "s", "text"},
        {"a.b.new", deep.get(), "new", "-"},
        {"a.new.x", nullptr, "a.new.x", "-"},
        {"a.s.x", nullptr, "a.s.x", "-"},
        {"null.x", nullptr, "null.x", "-"},
        {"a.", &d, "a", "b=ic!3dd1,s=htext"},
        {".a", nullptr, ".a", "-"},
        {"", nullptr, "", "-"},
        {"a..s", nullptr, "a..s", "-"},
    };
    for (auto const& [path, home, rest, expected] : cases) {
        SCOPED_TRACE(path);
        TStr key(path);
        QMXValue untouched;
        QMXValue* value = &untouched;
        EXPECT_EQ(d.resolve(key, &value, false), home);
        EXPECT_EQ(textOf(key), rest);
        EXPECT_EQ(value == nullptr ? "-" : textOf(value->asString()), expected);
    }

    d.set("a.new", 2L);
    d.remove("a.b.c");
    d.remove("a.absent");
    EXPECT_EQ(text(*inner), "new=d2,b=i,s=htext");
}

TEST(Dictionary, AnUnreachablePathIsKeptUnderItsLiteralText) {
    QMXDictionary d;
    d.set("z", 1L);
    d.set("a", "no dictionary");
    d.set("a.b", 1L);
    d.set("i", 1L);   // in the same bucket
    d.set("a.b", 2L); // replaced where it is
    EXPECT_FALSE(d.exists("a.b"));
    EXPECT_EQ(d.typeOf("a.b"), 1);
    EXPECT_EQ(textOf(d.marshalItem("a.b")), "<null>");
    EXPECT_EQ(d._internalGetValue("a.b", false)->asLong(), 2);
    d.remove("a.b");
    EXPECT_EQ(textsOf(QMXDictionary(d).keys()), (Texts{"z", "a.b", "i", "a"}));
    EXPECT_EQ(text(d), "z=d1,,i=d1,a=hno!20dictionary");

    // With a dictionary in the way the path is found, but the literal entry is what is told.
    d.set("a", *counted());
    d.set("a.b", 3L);
    EXPECT_EQ(d.getLong("a.b"), 3);
    EXPECT_EQ(textOf(d.marshalItem("a.b")), "a.b=d2");
    d.set(TStr::null, 5L);
    EXPECT_FALSE(d.exists(""));
    EXPECT_TRUE(d.exists("."));
}

TEST(Dictionary, TakesItselfAndItsOwnParts) {
    QMXDictionary d;
    d.set("k", "v");
    d.set("abcdefgh1", 1L); // in one bucket with the next
    d.set("abcdefgh2", 2L);
    d.set("a.b", 3L);
    const std::string before = text(d);
    QMXDictionary& self = d;
    d = self;
    d.update(self);
    EXPECT_EQ(text(d), before);
    d.set("k", *d._internalGetValue("k", false));
    EXPECT_EQ(textOf(d.getString("k")), "v");

    // An entry's dictionary whose last reference is the entry's.
    auto* inner = new QMXDictionary();
    inner->set("k", "inner");
    d.set("in", inner);
    inner->release();
    d = *inner;
    EXPECT_EQ(text(d), "k=hinner");

    // The parent whose last reference is the child's.
    QMXDictionary* parent = new QMXDictionary();
    parent->set("k", "parent");
    QMXDictionary child(parent);
    parent->release();
    child = *parent;
    EXPECT_EQ(text(child), "k=hparent");

    // The walk of the other meets a path that leads back into the other.
    Counted other = counted();
    other->set("a.x", 1L);
    other->set("b", 2L);
    QMXDictionary holder;
    holder.set("a", other.get());
    holder.update(*other);
    EXPECT_EQ(other->getLong("x"), 1);
    EXPECT_EQ(holder.getLong("b"), 2);
}

TEST(Dictionary, LoopsEnd) {
    Counted a = counted();
    Counted b = counted();
    a->set("b", b.get());
    b->set("a", a.get());
    a->set("self", a.get());
    EXPECT_EQ(text(*a), "self=i,b=ia!3di");
    a->clear();

    // A parent that becomes a child of itself, directly or behind others.
    Counted first = counted();
    Counted second = counted(first.get());
    Counted third = counted(second.get());
    second->set("k", 1L);
    for (QMXDictionary* parent : {first.get(), second.get(), third.get()}) {
        *first = QMXDictionary(parent);
        EXPECT_EQ(first->getLong("k"), parent == first.get() ? 0 : 1);
        for (QMXDictionary const* d : {first.get(), second.get(), third.get()}) {
            EXPECT_FALSE(d->exists("x"));
            EXPECT_TRUE(d->getValue("x").isNull());
            EXPECT_EQ(d->_internalGetValue("x", true), nullptr);
            EXPECT_EQ(d->getDictionary("k"), nullptr);
        }
    }
    *first = QMXDictionary();
}

TEST(Dictionary, ItemsAreTwoPartsAroundASign) {
    std::tuple<char const*, bool, char const*> const cases[] = {
        {"k=d1", true, "k=d1"}, {"k=a", true, "k=a"}, {"k=h", true, "k=h"},         {"k=", false, ""},
        {"k", false, ""},       {"", false, ""},      {"k=d1=", true, "k=d1"},      {"k=d1=x", false, ""},
        {"k==", true, "k=a"},   {"=d1", true, ""},    {"%1%2=hx", true, "%1%2=hx"},
    };
    for (auto const& [item, stored, expected] : cases) {
        SCOPED_TRACE(item);
        QMXDictionary d;
        EXPECT_EQ(d.unmarshalItem(item), stored);
        EXPECT_EQ(text(d), expected);
    }
    Reports reports;
    Counted d(QMXDictionary::unmarshal(",x,,k=a,l=zz,"));
    EXPECT_EQ(reports.take(),
              (Texts{"Error  could not unmarshal data value a", "Error  could not unmarshal data value zz"}));
}

// A class of its own that lists fewer keys and sees its strings set.
struct Filter : QMXDictionary {
    using QMXDictionary::set;
    void set(TStr const& key, TStr const& value) override { QMXDictionary::set(key, value.upper()); }
    TList<TStr> keys() const override { return listOf({"b", "absent"}); }
};

TEST(Dictionary, OverridesAreAsked) {
    Filter filter;
    QMXDictionary d;
    d.set("in", &filter);
    d.set("in.a", TStr("x"));
    d.set("in.b", TStr("y"));
    EXPECT_EQ(text(d), "in=ib!3dhY!2c");
    EXPECT_EQ(textsOf(filter.values()), (Texts{"Y", "<null>"}));
    EXPECT_EQ(text(QMXDictionary(filter)), "b=hY");
}

TEST(Dictionary, NestingIsBounded) {
    // Every level escapes what is within once more.
    std::string given;
    std::string sign = "=";
    for (int levels = 1; levels <= 258; ++levels) {
        given += "k" + sign + "i";
        sign = levels == 1 ? "!3d" : "!21" + sign.substr(1);
        if (levels < 6 || levels == 256 || levels == 258) {
            Counted d(QMXDictionary::unmarshal(given.c_str()));
            EXPECT_EQ(text(*d) == given, levels <= 256) << levels;
        }
    }
}

} // namespace
