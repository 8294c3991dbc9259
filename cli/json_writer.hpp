// JSON text, written member by member, without a tree of values: destroying a tree allocates, which
// ends the process where there is no memory.
#ifndef ACTIVESET_CLI_JSON_WRITER_HPP
#define ACTIVESET_CLI_JSON_WRITER_HPP

#include <nlohmann/json.hpp>
#include <string>
#include <utility>

namespace activeset::cli {

class JsonWriter {
public:
    /// Opens an object with '{' or an array with '['. Inside an object a key comes first.
    void open(char bracket) {
        separate();
        text_ += bracket;
    }
    void close(char bracket) { text_ += bracket; }

    void key(const char* name) {
        separate();
        text_ += '"';
        text_ += name;
        text_ += "\":";
    }
    /// Writes a string, a number or a truth value. Bytes of a string that are not UTF-8 become the
    /// replacement character. A number that is not finite becomes null.
    template <class Value>
    void value(const Value& value) {
        separate();
        text_ +=
            nlohmann::json(value).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    }
    template <class Value>
    void member(const char* name, const Value& content) {
        key(name);
        value(content);
    }

    /// The whole text, in one line, without a line end.
    [[nodiscard]] std::string text() && { return std::move(text_); }

private:
    void separate() {
        const char last = text_.empty() ? '{' : text_.back();
        if (last != '{' && last != '[' && last != ':') {
            text_ += ',';
        }
    }

    std::string text_;
};

}  // namespace activeset::cli

#endif
