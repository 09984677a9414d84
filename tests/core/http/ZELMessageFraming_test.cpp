#include "core/http/ZELMessageFraming.h"

#include <gtest/gtest.h>

#include <string>

namespace zel::http {

using K = ZELBodyFraming;

TEST(MessageFramingTest, FieldsMethodAndStatusDecideWhereTheBodyEnds) {
    constexpr std::nullopt_t no = std::nullopt;
    struct Row {
        const char* method;  // nullptr: the request itself
        unsigned status;
        std::optional<std::string_view> te, cl;
        K kind;
        std::uint64_t length = 0;
    };
    const Row rows[] = {
        {nullptr, 0, no, no, K::None},
        {nullptr, 0, no, " 12\t", K::Length, 12},
        {nullptr, 0, no, "12, 12", K::Length, 12},
        {nullptr, 0, no, "12, 13", K::Invalid},
        {nullptr, 0, no, "", K::Invalid},
        {nullptr, 0, no, "+12", K::Invalid},
        {nullptr, 0, no, "1 2", K::Invalid},
        {nullptr, 0, no, "4611686018427387904", K::Length, std::uint64_t{1} << 62},
        {nullptr, 0, no, "4611686018427387905", K::Invalid},
        {nullptr, 0, no, "184467440737095516160", K::Invalid},
        {nullptr, 0, "gzip , CHUNKED ", no, K::Chunked},
        {nullptr, 0, "chunked, gzip", no, K::Invalid},
        {nullptr, 0, "chunked,", no, K::Invalid},
        {nullptr, 0, "chunked", "5", K::Invalid},
        {"GET", 200, no, "5", K::Length, 5},
        {"GET", 200, no, "5, 6", K::Invalid},
        {"GET", 200, no, no, K::UntilClose},
        {"GET", 200, "Chunked", "5", K::Chunked},
        {"GET", 200, "chunked, gzip", "5", K::UntilClose},
        {"HEAD", 200, "chunked", "x", K::None},
        {"head", 200, no, "5", K::Length, 5},
        {"GET", 100, no, "5", K::None},
        {"GET", 101, no, "5", K::Tunnel},
        {"GET", 204, no, "5", K::None},
        {"GET", 304, no, "5", K::None},
        {"CONNECT", 200, no, no, K::Tunnel},
        {"CONNECT", 407, no, "5", K::Length, 5},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << (row.method ? row.method : "request") << ' ' << row.status
                                        << " te=" << row.te.value_or("-") << " cl=" << row.cl.value_or("-"));
        const ZELFramingFields fields{row.te, row.cl};
        const ZELFraming framing =
            row.method ? answerFraming(row.method, row.status, fields) : requestFraming(fields);
        EXPECT_EQ(framing.kind, row.kind);
        EXPECT_EQ(framing.length, row.length);
    }
}

TEST(ChunkedReaderTest, FindsTheBodysEndInAnySplitAndFailsAtTheOffendingByte) {
    const std::string longExtension = "1;" + std::string(4094, 'x') + "\r\nx\r\n0\r\n\r\n";
    struct Row {
        std::string body;
        long failAt;  // -1: well formed
    };
    const Row rows[] = {
        {"0\r\n\r\n", -1},
        {"5\r\nhello\r\n0\r\n\r\n", -1},
        {"7\r\n0\r\n\r\n\r\n\r\n0\r\n\r\n", -1},  // data that looks like the end is data
        {"A;n=\"v\" \r\n0123456789\r\n1F\r\n" + std::string(31, '.') + "\r\n0 \r\nT: x\r\nU: y\r\n\r\n", -1},
        {"3\nabc\n0\nT: x\n\n", -1},
        {longExtension, -1},
        {"\r\n", 0},
        {" 5\r\n", 0},
        {"1 2\r\n", 2},
        {"5\rX", 2},
        {"5\r\nhelloX\r\n", 8},
        {"0000000000000001\r\n", 15},
        {"0\r\nT: x\rX", 8},
        {"1;" + std::string(4095, 'x') + "\r\n", 4096},
        {"0\r\n" + std::string(4097, 'x') + "\r\n", 3 + 4096},
    };
    const std::string after = "HTTP/1.1 200 OK\r\n";
    for (const Row& row : rows) {
        const std::string input = row.failAt < 0 ? row.body + after : row.body;
        for (const std::size_t piece : {input.size(), std::size_t{1}, std::size_t{7}}) {
            SCOPED_TRACE(testing::Message() << row.body.substr(0, 40) << " in pieces of " << piece);
            ZELChunkedReader reader;
            std::size_t used = 0;
            for (std::size_t at = 0; at < input.size(); at += piece)
                used += reader.feed(input.substr(at, piece));
            EXPECT_EQ(used, row.failAt < 0 ? row.body.size() : static_cast<std::size_t>(row.failAt));
            EXPECT_EQ(reader.done(), row.failAt < 0);
            EXPECT_EQ(reader.failed(), row.failAt >= 0);
            EXPECT_EQ(reader.feed("0\r\n\r\n"), 0u);
        }
    }
}

}  // namespace zel::http
