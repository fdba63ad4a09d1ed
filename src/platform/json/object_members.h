// The members of one JSON object as parts of its text, for readers that need some of them and want
// nothing built from the others.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Json {

// The text that a JSON string, quotes included, stands for.
std::string Unescape(std::string_view quoted);

// Goes through the members in the order of the text; equal names all appear. Does not recurse.
class ObjectMembers {
  public:
    // `text` is one object and FindFault finds nothing in it; it outlives the reader.
    explicit ObjectMembers(std::string_view text);

    // The next member: its name, unescaped, and the text of its value, without blanks around it.
    // False when there is none any more.
    bool Next(std::string& name, std::string_view& value);

  private:
    void SkipBlanks();
    // Takes the value that starts here.
    std::string_view TakeValue();
    void SkipString();

    std::string_view text;
    std::size_t offset = 0;
};

}  // namespace Json
