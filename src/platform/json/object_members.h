// Reads the members of one JSON object as slices of its text, for readers that need only some of
// them and should not build the others.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Json {

// Decodes a JSON string, given with its quotes.
std::string Unescape(std::string_view quoted);

// Iterates over the members in the order of the text, including those with equal names. Does not
// recurse.
class ObjectMembers {
  public:
    // `text` is one object without faults (see FindFault) and outlives the reader.
    explicit ObjectMembers(std::string_view text);

    // Sets `name` to the next member's name, unescaped, and `value` to the text of its value
    // without surrounding blanks. Returns false after the last member.
    bool Next(std::string& name, std::string_view& value);

  private:
    void SkipBlanks();
    // Takes the value that starts at `offset`.
    std::string_view TakeValue();
    void SkipString();

    std::string_view text;
    std::size_t offset = 0;
};

}  // namespace Json
