#include "orbuutil/ctinyXMLHelper.h"

#include <string>
#include <tinyxml2.h>

#include <gtest/gtest.h>

namespace {

using Values = CTinyXMLHelper::Values;

constexpr char records[] = "<l>"
                           "<r id='1' kind='a'><name>one</name><size>10</size><name>twice</name><none/></r>"
                           "<r id='2' kind='a'><name>two</name>text<!--c--><size>20</size></r>"
                           "<r id='3' kind='b'/>"
                           "</l>";

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

    // The record as one line.
    std::string record(const char* id) {
        for (auto* element = list->FirstChildElement(); element != nullptr;
             element = element->NextSiblingElement()) {
            if (element->Attribute("id", id) != nullptr) {
                tinyxml2::XMLPrinter printer(nullptr, true);
                element->Accept(&printer);
                return printer.CStr();
            }
        }
        return "";
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
    struct {
        Values filter;
        unsigned code;
        const char* id;
    } const rows[] = {
        {{{"id", "2"}}, 0, "2"},
        {{{"id", "3"}, {"kind", "b"}}, 0, "3"},
        {{{"kind", "b"}}, 0, "3"},
        // One match and one mismatch are none, however many records are passed over.
        {{{"id", "2"}, {"kind", "x"}}, 31, ""},
        {{{"id", "4"}}, 31, ""},
        {{{"other", "1"}}, 31, ""},
        {{}, 0, ""}, // the first, without telling which
    };
    for (auto const& row : rows) {
        SCOPED_TRACE(shown(row.filter));
        tinyxml2::XMLElement* found = nullptr;
        EXPECT_EQ(helper.searchElement(list, row.filter, found), row.code);
        if (row.code == 0) {
            EXPECT_STREQ(found != nullptr ? found->Attribute("id") : "", row.id);
        }
        EXPECT_EQ(helper.searchElement(nullptr, row.filter, found), 4U);
    }
    tinyxml2::XMLElement* found = nullptr;
    EXPECT_EQ(helper.searchElement(list->LastChildElement(), Values(), found), 31U); // no children
    EXPECT_EQ(helper.searchElement(list, "name", "two", found), 0U);
    EXPECT_STREQ(found->Attribute("id"), "2");
    EXPECT_EQ(helper.searchElement(list, "name", "twice", found), 31U); // only the first of its name counts
    EXPECT_EQ(helper.searchElement(list, TStr::null, "two", found), 4U);
    EXPECT_EQ(helper.searchElement(list, "name", "", found), 4U);
    EXPECT_EQ(helper.searchElement(nullptr, "name", "two", found), 4U);
    load("<l><r id=''/><r id='2'/></l>"); // an empty attribute ends the search
    EXPECT_EQ(helper.searchElement(list, {{"id", "2"}}, found), 31U);
}

TEST_F(XmlHelper, Reads) {
    Values children = {{"size", "kept"}};
    EXPECT_EQ(helper.getChildElements(list, {{"id", "1"}}, children), 0U);
    EXPECT_EQ(shown(children), "name=one;none=;size=kept;");
    Values properties;
    EXPECT_EQ(helper.getFirstChildKeysAndProperties(list, "size", "20", properties, children), 0U);
    EXPECT_EQ(shown(properties) + shown(children), "id=2;kind=a;name=two;size=20;");
    EXPECT_EQ(helper.getFirstChildKeysAndProperties(list, "size", "21", properties, children), 31U);
    EXPECT_TRUE(properties.empty() && children.empty());
    tinyxml2::XMLElement* child = nullptr;
    EXPECT_EQ(helper.getSingleChildElement(list, {{"id", "1"}}, "size", child), 0U);
    EXPECT_STREQ(child->GetText(), "10");
    EXPECT_EQ(helper.getSingleChildElement(list, {{"id", "1"}}, "x", child), 34U);
    EXPECT_EQ(helper.getSingleChildElement(list, {{"id", "3"}}, "x", child), 0U);
    EXPECT_EQ(child, nullptr);
    load("<l><r><name>one</name></r></l>");
    EXPECT_EQ(helper.getFirstChildKeysAndProperties(list, "name", "one", properties, children), 34U);
}

TEST_F(XmlHelper, SetsAndCreates) {
    EXPECT_EQ(helper.setChildElement(list, {{"id", "1"}}, {{"name", "<n>"}, {"none", "x"}, {"y", "z"}}), 0U);
    EXPECT_EQ(record("1"),
              "<r id=\"1\" kind=\"a\"><name>&lt;n&gt;</name><size>10</size><name>&lt;n&gt;</name>"
              "<none/></r>");
    EXPECT_EQ(helper.setSingleChildElement(list, {{"id", "1"}}, {{"size", "11"}, {"none", "x"}}), 0U);
    EXPECT_EQ(helper.setSingleChildElement(list, {{"id", "1"}}, {{"none", "x"}}), 34U);
    EXPECT_EQ(helper.setSingleChildElement(list, {{"id", "3"}}, {{"name", "x"}}), 0U);
    EXPECT_NE(record("1").find("<size>11</size>"), std::string::npos);
    std::vector<CKeyValue> fields = {{"b", "2"}, {"a", ""}, {"b", "3"}};
    EXPECT_EQ(helper.createChildElement(nullptr, "r", {}, fields), 4U);
    EXPECT_EQ(helper.createChildElement(list, "r", {{"id", "4"}, {"a", "&"}}, fields), 0U);
    EXPECT_EQ(record("4"), "<r a=\"&amp;\" id=\"4\"><b>2</b><a></a><b>3</b></r>");
    EXPECT_STREQ(list->LastChildElement()->Attribute("id"), "4");
    EXPECT_EQ(helper.removeChildElement(list, {{"id", "2"}}), 0U);
    EXPECT_EQ(helper.removeChildElement(list, {{"id", "2"}}), 31U);
    EXPECT_EQ(record("2"), "");
}

TEST_F(XmlHelper, Inserts) {
    struct {
        const char* id;
        const char* name;
        const char* anchor;
        bool before, replace;
        unsigned code;
        const char* content;
    } const rows[] = {
        {"1", "n", "size", false, false, 0,
         "<name>one</name><size>10</size><n>v</n><name>twice</name><none/>"},
        {"1", "n", "size", true, false, 0,
         "<name>one</name><n>v</n><size>10</size><name>twice</name><none/>"},
        {"1", "n", "name", true, false, 0,
         "<n>v</n><name>one</name><size>10</size><name>twice</name><none/>"},
        {"1", "size", "x", false, true, 0, "<name>one</name><size>v</size><name>twice</name><none/>"},
        // Without a text to replace it goes beside the anchor.
        {"1", "none", "name", false, true, 0,
         "<name>one</name><none>v</none><size>10</size><name>twice</name><none/>"},
        {"2", "n", "text", false, false, 0, "<name>two</name>text<n>v</n><!--c--><size>20</size>"},
        // The element before the anchor is found past what is no element; before a text there is none.
        {"2", "n", "size", true, false, 0, "<name>two</name><n>v</n>text<!--c--><size>20</size>"},
        {"2", "n", "text", true, false, 0, "<name>two</name>text<!--c--><size>20</size>"},
        {"1", "n", "x", false, true, 34, "<name>one</name><size>10</size><name>twice</name><none/>"},
    };
    for (auto const& row : rows) {
        SCOPED_TRACE(row.content);
        load(records);
        EXPECT_EQ(helper.insertSingleChildElement(list, {{"id", row.id}}, row.name, "v", row.anchor,
                                                  row.before, row.replace),
                  row.code);
        EXPECT_EQ(record(row.id), "<r id=\"" + std::string(row.id) + "\" kind=\"a\">" + row.content + "</r>");
    }
    EXPECT_EQ(helper.insertSingleChildElement(list, {{"id", "3"}}, "n", "v", "x", false, true), 34U);
    EXPECT_EQ(helper.insertSingleChildElement(list, {{"id", "4"}}, "n", "v", "x", false, true), 31U);
}

TEST_F(XmlHelper, AnEmptyFilterChangesNothing) {
    std::string const before = record("1");
    Values out;
    tinyxml2::XMLElement* child = list;
    EXPECT_EQ(helper.getChildElements(list, {}, out), 0U);
    EXPECT_EQ(helper.setChildElement(list, {}, {{"name", "x"}}), 0U);
    EXPECT_EQ(helper.setSingleChildElement(list, {}, {{"name", "x"}}), 0U);
    EXPECT_EQ(helper.getSingleChildElement(list, {}, "name", child), 0U);
    EXPECT_EQ(helper.removeChildElement(list, {}), 0U);
    EXPECT_EQ(helper.insertSingleChildElement(list, {}, "n", "v", "name", false, false), 5U);
    EXPECT_TRUE(out.empty() && child == nullptr);
    EXPECT_EQ(record("1"), before);
}

} // namespace
