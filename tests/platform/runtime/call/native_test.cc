// One definition of a structure with every type of field, followed through its descriptions, its
// values both ways, and an operation that takes it.
#include "platform/runtime/call/native.h"

#include "platform/runtime/json/json_writer.h"
#include "platform/runtime/json/value_reader.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

namespace Forest {

enum class Colour : std::int32_t { Red, Green };
enum class Size : std::int32_t { Small, Large };

struct Leaf {
    std::string name;
    std::optional<std::int64_t> weight;
};

struct Tree {
    bool alive = false;
    std::int64_t height = 0;
    std::optional<Quon::DateTime> planted;
    Colour colour = Colour::Red;
    std::optional<Size> size;
    std::vector<std::shared_ptr<const Leaf>> leaves;
    std::optional<std::set<std::string>> names;
    std::vector<std::vector<std::int64_t>> rings;
};

}  // namespace Forest

namespace Quon::Native {

template <>
struct EnumerationOf<Forest::Colour> {
    static constexpr std::string_view kName = "test.colour";
    static constexpr std::string_view kDocumentation = "A colour.";
    static constexpr std::array<std::string_view, 2> kTexts = {"RED", "GREEN"};
};

template <>
struct EnumerationOf<Forest::Size> {
    static constexpr std::string_view kName = "test.size";
    static constexpr std::string_view kDocumentation = "A size.";
    static constexpr std::array<std::string_view, 2> kTexts = {"SMALL", "LARGE"};
    static constexpr Forest::Size kOtherTexts = Forest::Size::Small;
};

template <>
struct StructureOf<Forest::Leaf> {
    static constexpr std::string_view kName = "test.leaf";
    static constexpr std::string_view kDocumentation = "A leaf.";
    static constexpr auto kFields =
        std::make_tuple(Field{"name", &Forest::Leaf::name, "Its name."},
                        Field{"weight", &Forest::Leaf::weight, "In grams."});
};

template <>
struct StructureOf<Forest::Tree> {
    static constexpr std::string_view kName = "test.tree";
    static constexpr std::string_view kDocumentation = "A tree.";
    static constexpr auto kFields = std::make_tuple(
        Field{"alive", &Forest::Tree::alive, ""}, Field{"height", &Forest::Tree::height, ""},
        Field{"planted", &Forest::Tree::planted, ""}, Field{"colour", &Forest::Tree::colour, ""},
        Field{"size", &Forest::Tree::size, ""}, Field{"leaves", &Forest::Tree::leaves, ""},
        Field{"names", &Forest::Tree::names, ""}, Field{"rings", &Forest::Tree::rings, ""});
};

}  // namespace Quon::Native

namespace {

using Forest::Colour;
using Forest::Leaf;
using Forest::Size;
using Forest::Tree;
using Quon::Data::DataValue;
using Quon::Data::ListSource;
using Quon::Native::ToData;
using Quon::Protocol::Json::ReadValue;

std::string Write(const DataValue& value) {
    std::string json;
    Quon::Protocol::Json::ValueWriter(value).Next(json, std::numeric_limits<std::size_t>::max());
    return json;
}

std::string Problem(std::string_view json) {
    Tree tree;
    const auto problem = Quon::Native::FromData(*ReadValue(json).AsStructure(), tree);
    return problem ? problem->id + ": " + problem->defaultMessage : "";
}

const std::string kWholeTree =
    R"({"alive":true,"height":-3,"planted":"2024-05-01T12:00:00.500Z","colour":"GREEN",)"
    R"("size":"LARGE","leaves":[{"name":"a","weight":7},{"name":"b"}],"names":["x","y"],)"
    R"("rings":[[1,2],[]]})";

Tree ReadTree(std::string_view json) {
    Tree tree;
    EXPECT_FALSE(Quon::Native::FromData(*ReadValue(json).AsStructure(), tree));
    return tree;
}

TEST(Native, CarriesEveryTypeBothWays) {
    const Tree tree = ReadTree(kWholeTree);
    EXPECT_EQ(Write(ToData(tree)), kWholeTree);
    EXPECT_EQ(Write(ToData(std::make_shared<const Tree>(tree))), kWholeTree);
    EXPECT_EQ(ToData(tree).AsStructure()->Name(), "test.tree");
}

TEST(Native, ReadsNullAsAbsentEqualNamesOnceAndOtherTextsAsOne) {
    const Tree tree = ReadTree(
        R"({"alive":false,"height":0,"planted":null,"colour":"RED","size":"HUGE","leaves":[],)"
        R"("names":["b","a","b"],"rings":[]})");
    EXPECT_FALSE(tree.planted);
    EXPECT_EQ(tree.size, Size::Small);
    EXPECT_EQ(tree.names, (std::set<std::string>{"a", "b"}));
}

TEST(Native, NamesTheInvalidMember) {
    const std::string rest = R"("alive":true,"colour":"RED","height":1,"rings":[])";
    const std::pair<std::string, std::string> rows[] = {
        {R"({"colour":"RED","height":1,"leaves":[],"rings":[]})",
         "quon.member.missing: The member \"alive\" is missing. Add it; it is true or false."},
        {"{" + rest + R"(,"leaves":[{"name":"a"},{"name":null}]})",
         "quon.member.missing: The member \"leaves[1].name\" is missing. Add it; it is a string."},
        {"{" + rest + R"(,"leaves":[{"name":"a","naem":"b"}]})",
         "quon.member.unknown: Unknown member \"leaves[0].naem\". Remove it or check its "
         "name; known members: name, weight."},
        {"{" + rest + R"(,"leaves":[],"names":["a","b",7]})",
         "quon.member.type: The member \"names[2]\" must be a string, not an integer."},
        {"{" + rest + R"(,"leaves":[{"name":"a","weight":1.5}]})",
         "quon.member.type: The member \"leaves[0].weight\" must be an integer of at most 64 bits, "
         "not a fraction or a larger number."},
        {R"({"alive":true,"colour":"red","height":1,"leaves":[],"rings":[]})",
         "quon.member.text: The member \"colour\" must be one of these: RED, GREEN."},
        {R"({"alive":true,"colour":"RED","height":1,"leaves":[],"rings":[[1],[2,"x"]]})",
         "quon.member.type: The member \"rings[1][1]\" must be an integer of at most 64 bits, "
         "not a string."},
    };
    for (const auto& [json, problem] : rows) {
        EXPECT_EQ(Problem(json), problem) << json;
    }
    EXPECT_EQ(Problem("{" + rest + R"(,"leaves":[],"planted":"today"})")
                  .find("quon.member.datetime: The member \"planted\" is not a date-time: it does"),
              0U);
}

TEST(Native, KeepsALongResultInItsNativeForm) {
    auto tree = std::make_shared<Tree>();
    for (const char* name : {"a", "b"}) {
        tree->leaves.push_back(std::make_shared<Leaf>(Leaf{name, {}}));
    }
    const std::weak_ptr<Tree> watched = tree;
    const std::string* const text = &tree->leaves.front()->name;
    DataValue value = ToData(std::shared_ptr<const Tree>(std::move(tree)));
    const DataValue leaves = *value.AsStructure()->Find("leaves");
    value = DataValue();
    const auto* source = leaves.As<std::shared_ptr<const ListSource>>();
    ASSERT_NE(source, nullptr);
    const DataValue leaf = (*source)->At(0);
    const auto* shared = leaf.AsStructure()->Find("name")->As<std::shared_ptr<const std::string>>();
    ASSERT_NE(shared, nullptr);
    EXPECT_EQ(shared->get(), text);
    EXPECT_FALSE(watched.expired());
    EXPECT_EQ(Write(leaves), R"([{"name":"a"},{"name":"b"}])");
}

TEST(Native, NeverWritesAnEnumeratorWithoutAText) {
    for (const std::int32_t ordinal : {2, -1, std::numeric_limits<std::int32_t>::min()}) {
        EXPECT_EQ(Write(ToData(static_cast<Colour>(ordinal))), "\"GREEN\"");
        EXPECT_EQ(Write(ToData(static_cast<Size>(ordinal))), "\"SMALL\"");
    }
}

}  // namespace
