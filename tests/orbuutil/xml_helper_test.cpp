#include "orbuutil/ctinyXMLHelper.h"

#include <string>
#include <tinyxml2.h>

#include <gtest/gtest.h>

namespace {

using Values = CTinyXMLHelper::Values;

constexpr char records[] = "<l><r id='1' kind='a'><n>one</n><s>10</s><n>twice</n><e/></r>"
                           "<r id='2' kind='a'><n>two</n>text<!--c--><s>20</s></r><r id='3' kind='b'/></l>";

class XmlHelper : public ::testing::Test {
protected:
    XmlHelper() {
        helper.document = &document;
        load(records);
    }

    void load(const char* text) {
        EXPECT_EQ(document.Parse(text), tinyxml2::XML_SUCCESS);
        list = document.RootElement();
    }

    // What is inside record 1, 2 ...; empty when there is none.
    std::string record(int number) {
        auto* element = list->FirstChildElement();
        for (int i = 1; i < number && element != nullptr; ++i) {
            element = element->NextSiblingElement();
        }
        tinyxml2::XMLPrinter printer(nullptr, true);
        for (auto* child = element != nullptr ? element->FirstChild() : nullptr; child != nullptr;
             child = child->NextSibling()) {
            child->Accept(&printer);
        }
        return printer.CStr();
    }

    tinyxml2::XMLDocument document;
    tinyxml2::XMLElement* list = nullptr;
    CTinyXMLHelper helper;
};

std::string shown(Values const& values) {
    std::string text;
    for (auto const& [key, value] : values) {
        text += std::string(key.toUtf8()) + "=" + value.toUtf8() + ";";
    }
    return text;
}

TEST_F(XmlHelper, Searches) {
    std::tuple<Values, unsigned, const char*> const rows[] = {
        {{{"id", "2"}}, 0, "2"},
        {{{"id", "3"}, {"kind", "b"}}, 0, "3"},
        {{{"kind", "b"}}, 0, "3"},
        // One match and one mismatch are none, however many records are passed over.
        {{{"id", "2"}, {"kind", "x"}}, 31, ""},
        {{{"id", "4"}}, 31, ""},
        {{{"other", "1"}}, 31, ""},
        {{}, 0, ""}, // the first, without telling which
    };
    for (auto const& [filter, code, id] : rows) {
        SCOPED_TRACE(shown(filter));
        tinyxml2::XMLElement* found = nullptr;
        EXPECT_EQ(helper.searchElement(list, filter, found), code);
        if (code == 0) {
            EXPECT_STREQ(found != nullptr ? found->Attribute("id") : "", id);
        }
        EXPECT_EQ(helper.searchElement(nullptr, filter, found), 4U);
    }
    tinyxml2::XMLElement* found = nullptr;
    EXPECT_EQ(helper.searchElement(list->LastChildElement(), Values(), found), 31U); // no children
    EXPECT_EQ(helper.searchElement(list, "n", "two", found), 0U);
    EXPECT_STREQ(found->Attribute("id"), "2");
    EXPECT_EQ(helper.searchElement(list, "n", "twice", found), 31U); // only the first of its name counts
    EXPECT_EQ(helper.searchElement(list, TStr::null, "two", found), 4U);
    EXPECT_EQ(helper.searchElement(list, "n", "", found), 4U);
    EXPECT_EQ(helper.searchElement(nullptr, "n", "two", found), 4U);
    load("<l><r id=''/><r id='2'/></l>"); // an empty attribute ends the search
    EXPECT_EQ(helper.searchElement(list, {{"id", "2"}}, found), 31U);
}

TEST_F(XmlHelper, Reads) {
    Values children = {{"s", "kept"}};
    EXPECT_EQ(helper.getChildElements(list, {{"id", "1"}}, children), 0U);
    EXPECT_EQ(shown(children), "e=;n=one;s=kept;");
    Values properties;
    EXPECT_EQ(helper.getFirstChildKeysAndProperties(list, "s", "20", properties, children), 0U);
    EXPECT_EQ(shown(properties) + shown(children), "id=2;kind=a;n=two;s=20;");
    EXPECT_EQ(
        helper.getFirstChildKeysAndProperties(list, children.rbegin()->first, "21", properties, children),
        31U);
    EXPECT_TRUE(properties.empty() && children.empty());
    tinyxml2::XMLElement* child = nullptr;
    EXPECT_EQ(helper.getSingleChildElement(list, {{"id", "1"}}, "s", child), 0U);
    EXPECT_STREQ(child->GetText(), "10");
    EXPECT_EQ(helper.getSingleChildElement(list, {{"id", "1"}}, "x", child), 34U);
    EXPECT_EQ(helper.getSingleChildElement(list, {{"id", "3"}}, "x", child), 0U);
    EXPECT_EQ(child, nullptr);
    load("<l><r><n>one</n></r></l>");
    EXPECT_EQ(helper.getFirstChildKeysAndProperties(list, "n", "one", properties, children), 34U);
}

TEST_F(XmlHelper, SetsAndCreates) {
    EXPECT_EQ(helper.setChildElement(list, {{"id", "1"}}, {{"n", "<n>"}, {"e", "x"}, {"y", "z"}}), 0U);
    EXPECT_EQ(record(1), "<n>&lt;n&gt;</n><s>10</s><n>&lt;n&gt;</n><e/>");
    EXPECT_EQ(helper.setSingleChildElement(list, {{"id", "2"}}, {{"s", "11"}, {"e", "x"}}), 0U);
    EXPECT_EQ(helper.setSingleChildElement(list, {{"id", "1"}}, {{"e", "x"}}), 34U);
    EXPECT_EQ(helper.setSingleChildElement(list, {{"id", "3"}}, {{"n", "x"}}), 0U);
    EXPECT_EQ(record(2), "<n>two</n>text<!--c--><s>11</s>");
    std::vector<CKeyValue> fields = {{"b", "2"}, {"a", ""}, {"b", "3"}};
    EXPECT_EQ(helper.createChildElement(nullptr, "r", {}, fields), 4U);
    EXPECT_EQ(helper.createChildElement(list, "r", {{"id", "4"}, {"a", "&"}}, fields), 0U);
    EXPECT_EQ(record(4), "<b>2</b><a></a><b>3</b>");
    EXPECT_TRUE(list->LastChildElement()->Attribute("id", "4") &&
                list->LastChildElement()->Attribute("a", "&"));
    EXPECT_EQ(helper.removeChildElement(list, {{"id", "1"}}), 0U);
    EXPECT_EQ(helper.removeChildElement(list, {{"id", "1"}}), 31U);
    EXPECT_EQ(record(1), "<n>two</n>text<!--c--><s>11</s>");
}

TEST_F(XmlHelper, Inserts) {
    struct {
        const char *id, *name, *anchor;
        bool before, replace;
        unsigned code;
        const char* content;
    } const rows[] = {
        {"1", "x", "s", false, false, 0, "<n>one</n><s>10</s><x>v</x><n>twice</n><e/>"},
        {"1", "x", "s", true, false, 0, "<n>one</n><x>v</x><s>10</s><n>twice</n><e/>"},
        {"1", "x", "n", true, false, 0, "<x>v</x><n>one</n><s>10</s><n>twice</n><e/>"},
        {"1", "s", "y", false, true, 0, "<n>one</n><s>v</s><n>twice</n><e/>"},
        // Without a text to replace it goes beside the anchor.
        {"1", "e", "s", false, true, 0, "<n>one</n><s>10</s><e>v</e><n>twice</n><e/>"},
        {"2", "x", "text", false, false, 0, "<n>two</n>text<x>v</x><!--c--><s>20</s>"},
        // The element before the anchor is found past what is no element; before a text there is none.
        {"2", "x", "s", true, false, 0, "<n>two</n><x>v</x>text<!--c--><s>20</s>"},
        {"2", "x", "text", true, false, 0, "<n>two</n>text<!--c--><s>20</s>"},
        {"1", "x", "y", false, true, 34, "<n>one</n><s>10</s><n>twice</n><e/>"},
        {"3", "x", "y", false, true, 34, ""},
        {"4", "x", "y", false, true, 31, ""},
    };
    for (auto const& row : rows) {
        load(records);
        EXPECT_EQ(helper.insertSingleChildElement(list, {{"id", row.id}}, row.name, "v", row.anchor,
                                                  row.before, row.replace),
                  row.code);
        EXPECT_EQ(record(std::stoi(row.id)), row.content);
    }
}

TEST_F(XmlHelper, AnEmptyFilterChangesNothing) {
    std::string const before = record(1);
    Values out;
    tinyxml2::XMLElement* child = list;
    EXPECT_EQ(helper.getChildElements(list, {}, out), 0U);
    EXPECT_EQ(helper.setChildElement(list, {}, {{"n", "x"}}), 0U);
    EXPECT_EQ(helper.setSingleChildElement(list, {}, {{"n", "x"}}), 0U);
    EXPECT_EQ(helper.getSingleChildElement(list, {}, "n", child), 0U);
    EXPECT_EQ(helper.removeChildElement(list, {}), 0U);
    EXPECT_EQ(helper.insertSingleChildElement(list, {}, "n", "v", "n", false, false), 5U);
    EXPECT_TRUE(out.empty() && child == nullptr);
    EXPECT_EQ(record(1), before);
}

} // namespace
