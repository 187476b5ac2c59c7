// JSON results: string and number encoding, and the document's shape.
#include <gtest/gtest.h>

#include <cmath>

#include "qmjson.h"

TEST(Json, QuoteEscapesWhatJsonRequiresAndRepairsBadUtf8) {
    const struct {
        std::string in, out;
    } cases[] = {
        {"plain", "\"plain\""},
        {"a\"b\\c", "\"a\\\"b\\\\c\""},
        {"\n\t\r", "\"\\n\\t\\r\""},
        {std::string("\x01\x1f", 2), "\"\\u0001\\u001f\""},
        {"\xc3\xa9", "\"\xc3\xa9\""},                      // two-byte character kept
        {"\xe2\x82\xac", "\"\xe2\x82\xac\""},              // three-byte character kept
        {"\xf0\x9f\x98\x80", "\"\xf0\x9f\x98\x80\""},      // four-byte character kept
        {"\xc3", "\"\xef\xbf\xbd\""},                      // cut sequence
        {"\xff" "a", "\"\xef\xbf\xbd" "a\""},              // byte that starts nothing
        {"\xc0\x80", "\"\xef\xbf\xbd\xef\xbf\xbd\""},      // overlong form
        {"\xf8\x80\x80\x80", "\"\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd\""},
    };
    for (const auto& c : cases) EXPECT_EQ(qmJson::quote(c.in), c.out) << c.in;
}

TEST(Json, NumbersRoundTripAndNonFiniteIsNull) {
    EXPECT_EQ(qmJson::number(0.1), "0.10000000000000001");
    EXPECT_EQ(std::stod(qmJson::number(1.0 / 3)), 1.0 / 3);
    EXPECT_EQ(qmJson::number(1e300 * 1e300), "null");
    EXPECT_EQ(qmJson::number(std::nan("")), "null");
}

TEST(Json, DocumentHasMetadataThenOneRecordPerLine) {
    qmJsonResults r;
    EXPECT_FALSE(r.active());
    r.setMeta("a", "1");
    r.setMeta("b", "\"x\"");
    r.setMeta("a", "2");  // replaced in place
    r.addRecord(qmJson::object({{"function", qmJson::quote("f")}}));
    r.addRecord(qmJson::object({{"function", qmJson::quote("g")}, {"params", qmJson::strings({"p", "q"})}}));
    EXPECT_EQ(r.document(),
              "{\"format\": \"quillmark-results\", \"version\": 1,\n\"metadata\": {\n  \"a\": 2,\n  \"b\": \"x\"\n},\n"
              "\"records\": [\n{\"function\": \"f\"},\n{\"function\": \"g\", \"params\": [\"p\", \"q\"]}\n]}\n");
    r.clear();
    EXPECT_EQ(r.records(), 0u);
    EXPECT_EQ(r.document(), "{\"format\": \"quillmark-results\", \"version\": 1,\n\"metadata\": {\n},\n\"records\": [\n]}\n");
}
