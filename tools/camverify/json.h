// Writes one JSON text: members in the order in which they are given.
#pragma once

#include <string>
#include <string_view>

namespace verify {

class Json {
  public:
    // Inside an object every value and every beginning has a name, inside a list none.
    Json& BeginObject(std::string_view name = {});
    Json& EndObject();
    Json& BeginList(std::string_view name = {});
    Json& EndList();
    Json& Text(std::string_view name, std::string_view value);
    Json& Number(std::string_view name, long long value);
    Json& Flag(std::string_view name, bool value);
    const std::string& text() const { return written; }

  private:
    void Name(std::string_view name);
    void Quoted(std::string_view value);

    std::string written;
    bool first = true;  // nothing stands in the innermost object or list yet
};

}  // namespace verify
