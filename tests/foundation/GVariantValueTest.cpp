#include "foundation/GVariantValue.h"

#include <glib.h>
#include <gtest/gtest.h>
#include <limits>

using namespace corvane;

namespace {

Value roundTrip(const Value& v) {
    GVariant* variant = g_variant_ref_sink(toGVariant(v));
    // Through the wire format, untrusted, as D-Bus carries it.
    GVariant* copy =
        g_variant_new_from_data(g_variant_get_type(variant), g_variant_get_data(variant),
                                g_variant_get_size(variant), FALSE, nullptr, nullptr);
    g_variant_ref_sink(copy);
    Value result = fromGVariant(copy);
    g_variant_unref(copy);
    g_variant_unref(variant);
    return result;
}

TEST(GVariantValue, RoundTripsEveryKind) {
    const Value original = Value::dict({
        {"bool", true},
        {"int", std::numeric_limits<std::int64_t>::min()},
        {"real", 2.5},
        {"string", "温度 °C"},
        {"data", Value::data(std::string("\x00\xff", 2))},
        {"date", Date{1795334400.125}},
        {"array", Value::array({1, "two", Value::array(), Value::dict()})},
        {"dict", Value::dict({{"inner", Value::array({false})}})},
    });
    EXPECT_EQ(roundTrip(original), original);
    EXPECT_EQ(roundTrip(Value()), Value());
    EXPECT_EQ(roundTrip(Value(Value::Array{Value(), 1})), Value(Value::Array{Value(), 1}));
    // Invalid UTF-8 is made valid: GVariant would refuse the whole message.
    EXPECT_EQ(roundTrip(Value(std::string("a\xffz"))), Value("a\xEF\xBF\xBDz"));
}

TEST(GVariantValue, UsesTheDocumentedTypes) {
    auto typeOf = [](const Value& v) {
        GVariant* variant = g_variant_ref_sink(toGVariant(v));
        std::string type = g_variant_get_type_string(variant);
        g_variant_unref(variant);
        return type;
    };
    EXPECT_EQ(typeOf(true), "b");
    EXPECT_EQ(typeOf(1), "x");
    EXPECT_EQ(typeOf(1.0), "d");
    EXPECT_EQ(typeOf("s"), "s");
    EXPECT_EQ(typeOf(Value::data("x")), "ay");
    EXPECT_EQ(typeOf(Value::array()), "av");
    EXPECT_EQ(typeOf(Value::dict()), "a{sv}");
    EXPECT_EQ(typeOf(Date{0}), "(sd)");
}

TEST(GVariantValue, ReadsWhatOtherServicesSend) {
    GVariant* v = g_variant_ref_sink(g_variant_new_parsed(
        "({'Percentage': <@d 87.5>, 'State': <@u 2>, 'Path': <@o '/org/x'>, "
        "'Big': <@t 18446744073709551615>, 'Pairs': <[(1, 'a')]>}, @as ['x'], @ay [])"));
    const Value value = fromGVariant(v);
    g_variant_unref(v);
    EXPECT_EQ(value, Value::array({Value::dict({{"Percentage", 87.5},
                                                {"State", 2},
                                                {"Path", "/org/x"},
                                                {"Big", std::numeric_limits<std::int64_t>::max()},
                                                {"Pairs", Value::array({Value::array({1, "a"})})}}),
                                   Value::array({"x"}), Value(Value::Data{})}))
        << value.description();
}

} // namespace
