// Values as text: each kind, hostile bytes, and the same text whatever the size of the pieces.
#include "platform/runtime/json/json_writer.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <utility>

namespace {

using Quon::Data::DataValue;
using Quon::Data::ListSource;
using Quon::Data::ListValue;
using Quon::Data::StructureValue;
using Quon::Protocol::Json::ValueWriter;
using std::string_literals::operator""s;

std::string Write(const DataValue& value, std::size_t pieceBytes) {
    ValueWriter writer(value);
    std::string text;
    bool isMore = true;
    while (isMore) {
        std::string piece;
        isMore = writer.Next(piece, pieceBytes);
        EXPECT_TRUE(!isMore || piece.size() >= pieceBytes);
        text += piece;
    }
    return text;
}

TEST(JsonWriter, EscapesWhatAStringMustNotHold) {
    const std::pair<std::string, std::string> rows[] = {
        {"", R"("")"},
        {"a\"b\\c/", R"("a\"b\\c/")"},
        {"\b\f\n\r\t\x01\x1f\x7f", "\"\\b\\f\\n\\r\\t\\u0001\\u001f\x7f\""},
        {"\0x"s, R"("\u0000x")"},
        {"\u00e4\u20ac\U0001F600", "\"\u00e4\u20ac\U0001F600\""},
        {"a\xff"
         "b\xc3",
         "\"a\uFFFDb\uFFFD\""},
        {"\xed\xa0\x80", "\"\uFFFD\uFFFD\uFFFD\""},  // half of a surrogate pair
        {"\xe2\x82", "\"\uFFFD\uFFFD\""},
    };
    for (const auto& [text, json] : rows) {
        EXPECT_EQ(Write(DataValue(text), 1000), json);
    }
}

// The numbers from 1 on, each in a structure.
class Numbers : public ListSource {
  public:
    explicit Numbers(std::size_t size) : size(size) {}
    std::size_t Size() const override { return size; }
    DataValue At(std::size_t index) const override {
        StructureValue element;
        element.Add("n", DataValue(static_cast<std::int64_t>(index + 1)));
        return DataValue(std::move(element));
    }

  private:
    std::size_t size;
};

TEST(JsonWriter, WritesTheSameTextInPiecesOfAnySize) {
    StructureValue inner("inner");
    inner.Add("unset", DataValue());
    inner.Add("time", DataValue(Quon::DateTime()));
    StructureValue outer;
    outer.Add("list", DataValue(ListValue{DataValue(), DataValue(true), DataValue(false),
                                          DataValue(ListValue()), DataValue(StructureValue())}));
    outer.Add("skipped", DataValue());
    outer.Add("source", DataValue(std::make_shared<const Numbers>(3)));
    outer.Add("none", DataValue(std::shared_ptr<const ListSource>(std::make_shared<Numbers>(0))));
    outer.Add("inner", DataValue(std::move(inner)));
    outer.Add("numbers", DataValue(ListValue{DataValue(std::numeric_limits<std::int64_t>::min()),
                                             DataValue(1.5), DataValue(1e300),
                                             DataValue(std::numeric_limits<double>::infinity())}));
    const DataValue value(std::move(outer));
    const std::string text =
        R"({"list":[null,true,false,[],{}],"source":[{"n":1},{"n":2},{"n":3}],"none":[],)"
        R"("inner":{"time":"1970-01-01T00:00:00.000Z"},)"
        R"("numbers":[-9223372036854775808,1.5,1e+300,null]})";
    for (std::size_t pieceBytes = 1; pieceBytes < text.size() + 2; ++pieceBytes) {
        ASSERT_EQ(Write(value, pieceBytes), text) << pieceBytes;
    }
}

}  // namespace
