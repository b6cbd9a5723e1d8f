#include "attributes.h"

#include "exitCodes.h"
#include "orbuutil/c_list.h"
#include "qmx/qmxDictionary.h"
#include "qmx/qmxPipePacket.h"
#include "terminal.h"

#include <limits>
#include <memory>
#include <nlohmann/json.hpp>

namespace {

using Json = nlohmann::ordered_json;

struct Release {
    void operator()(QMXDictionary* dictionary) const { dictionary->release(); }
};
using DictionaryHolder = std::unique_ptr<QMXDictionary, Release>;

TStr text_of(std::string const& text) { return TStr(text.c_str()); }

// Only whole UTF-8 without NUL arrives as it was sent.
void check_text(std::string const& text, std::string const& where) {
    bool good = text.find('\0') == std::string::npos;
    try {
        static_cast<void>(Json(text).dump());
    } catch (Json::exception const&) {
        good = false;
    }
    if (!good) {
        throw Failure(ExitBadData, where + ": not a text in UTF-8 without NUL");
    }
}

// Keys and names stand on the wire as they are.
void check_wire_name(std::string const& name, char const* forbidden, std::string const& what) {
    if (name.empty() || name.find_first_of(forbidden) != std::string::npos) {
        throw Failure(ExitUsage, what + " \"" + one_line(name) +
                                     "\" cannot travel: it is empty, or holds one of " + one_line(forbidden));
    }
    check_text(name, what);
}

void set_json(QMXDictionary& to, std::string const& key, Json const& value, std::string const& where);

void set_list(QMXDictionary& to, std::string const& key, Json const& value, std::string const& where) {
    TList<TStr> items;
    for (Json const& item : value) {
        if (!item.is_string()) {
            throw Failure(ExitBadData, where + ": a list holds strings only");
        }
        auto const text = item.get<std::string>();
        check_text(text, where);
        TStr const copy = text_of(text);
        list_push(items.handle(), &copy);
    }
    if (!value.empty() && value.back() == "") {
        tell(where + ": a list that ends in an empty item arrives as one item, its text form");
    }
    to.set(text_of(key), items);
}

void set_number(QMXDictionary& to, std::string const& key, Json const& value, std::string const& where) {
    if (value.is_number_float()) {
        auto const number = value.get<double>();
        TStr const sent = TStr::number(number, 'g', 6);
        if (sent.toDouble() != number) {
            tell(where + ": a double travels with six significant digits: " + bytes_of(sent));
        }
        to.set(text_of(key), number);
        return;
    }
    if (value.is_number_unsigned() && value.get<unsigned long>() > std::numeric_limits<long>::max()) {
        throw Failure(ExitBadData, where + ": does not fit into 64 bits");
    }
    to.set(text_of(key), value.get<long>());
}

void set_dictionary(QMXDictionary& to, std::string const& key, Json const& value, std::string const& where) {
    DictionaryHolder const inner(new QMXDictionary);
    for (auto const& [name, item] : value.items()) {
        check_wire_name(name, ";=,.\n", where + ": key");
        set_json(*inner, name, item, where);
    }
    to.set(text_of(key), inner.get());
}

void set_json(QMXDictionary& to, std::string const& key, Json const& value, std::string const& where) {
    switch (value.type()) {
    case Json::value_t::boolean:
        to.set(text_of(key), value.get<bool>());
        return;
    case Json::value_t::number_integer:
    case Json::value_t::number_unsigned:
    case Json::value_t::number_float:
        set_number(to, key, value, where);
        return;
    case Json::value_t::string:
        check_text(value.get<std::string>(), where);
        to.set(text_of(key), text_of(value.get<std::string>()));
        return;
    case Json::value_t::array:
        set_list(to, key, value, where);
        return;
    case Json::value_t::object:
        set_dictionary(to, key, value, where);
        return;
    default:
        throw Failure(ExitBadData, where + ": null cannot be sent");
    }
}

Json parse_json(std::string const& literal, std::string const& where) {
    Json value = Json::parse(literal, nullptr, false);
    if (value.is_discarded()) {
        throw Failure(ExitBadData, where + ": \"" + one_line(literal) +
                                       "\" is no JSON literal (for a string write key=text)");
    }
    // An integer beyond 64 bits is parsed as a double.
    if (value.is_number_float() && literal.find_first_of(".eE") == std::string::npos) {
        throw Failure(ExitBadData, where + ": does not fit into 64 bits");
    }
    return value;
}

Json json_of(QMXDictionary const& dictionary);

Json json_of(QMXDictionary const& dictionary, TStr const& key) {
    switch (dictionary.typeOf(key)) {
    case QMXValue::TypeBool:
        return dictionary.getBool(key);
    case QMXValue::TypeLong:
        return dictionary.getLong(key);
    case QMXValue::TypeDouble:
        return dictionary.getDouble(key);
    case QMXValue::TypeString:
        return bytes_of(dictionary.getString(key));
    case QMXValue::TypeStringList:
        return items_of(dictionary.getStringList(key));
    case QMXValue::TypeDictionary: {
        DictionaryHolder const inner(dictionary.getDictionary(key));
        return inner ? json_of(*inner) : Json::object();
    }
    default:
        return nullptr;
    }
}

Json json_of(QMXDictionary const& dictionary) {
    Json result = Json::object();
    for (std::string const& key : items_of(dictionary.keys())) {
        result[key] = json_of(dictionary, text_of(key));
    }
    return result;
}

std::string dump(Json const& value) { return value.dump(-1, ' ', false, Json::error_handler_t::replace); }

std::string plain_text(Json const& value) {
    if (value.is_string()) {
        return one_line(value.get<std::string>());
    }
    if (value.is_number_float()) {
        return bytes_of(TStr::number(value.get<double>(), 'g', 6));
    }
    return value.is_null() ? "" : dump(value);
}

} // namespace

std::string bytes_of(TStr const& text) {
    char const* const bytes = text.toUtf8();
    return bytes != nullptr ? bytes : "";
}

std::vector<std::string> items_of(TList<TStr> const& list) {
    std::vector<std::string> result;
    for (TListIterator<TStr> item(list.handle(), list_head(list.handle())); !item.isEnd(); item.next()) {
        result.push_back(bytes_of(*item));
    }
    return result;
}

void set_name(QMXPipePacket& packet, std::string const& name) {
    size_t const point = name.find('.');
    if (point == std::string::npos || point == 0 || point + 1 == name.size()) {
        throw Failure(ExitUsage, "\"" + one_line(name) + "\" is no name of the form facility.code");
    }
    check_wire_name(name, ";\n", "name");
    packet.setFacilityAndCode(text_of(name));
}

void set_attributes(QMXPipePacket& packet, std::vector<std::string> const& arguments) {
    DictionaryHolder const attributes(new QMXDictionary);
    for (std::string const& argument : arguments) {
        size_t const sign = argument.find('=');
        if (sign == std::string::npos) {
            throw Failure(ExitUsage, "\"" + one_line(argument) + "\" is neither key=text nor key:=JSON");
        }
        bool const typed = sign > 0 && argument[sign - 1] == ':';
        std::string const key = argument.substr(0, typed ? sign - 1 : sign);
        std::string const value = argument.substr(sign + 1);
        check_wire_name(key, ";,.\n", "key");
        if (typed) {
            set_json(*attributes, key, parse_json(value, key), key);
        } else {
            check_text(value, key);
            attributes->set(text_of(key), text_of(value));
        }
    }
    packet.setAttributes(*attributes);
}

std::string attributes_text(QMXPipePacket const& packet, bool json) {
    Json const values = json_of(packet.attributes());
    std::string text;
    for (auto const& [key, value] : values.items()) {
        if (json) {
            text += (text.empty() ? "  " : ",\n  ") + dump(key) + ": " + dump(value);
        } else {
            text += one_line(key) + "=" + plain_text(value) + "\n";
        }
    }
    return json ? (text.empty() ? "{}\n" : "{\n" + text + "\n}\n") : text;
}

std::string names_text(std::vector<std::string> const& names, bool json) {
    if (json) {
        return dump(names) + "\n";
    }
    std::string text;
    for (std::string const& name : names) {
        text += one_line(name) + "\n";
    }
    return text;
}
