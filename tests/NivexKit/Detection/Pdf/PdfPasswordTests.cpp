#include "NivexKit/Detection/Pdf/PdfPassword.hpp"
#include "NivexKit/Detection/Pdf/PdfSyntax.hpp"

#include <gtest/gtest.h>

#include <string>

namespace nivex {
namespace {

struct Case {
    const char* what;
    std::string entries;
    std::string identifier; // hexadecimal
    bool opens;
};

// Dictionaries as qpdf writes them; those of "restricted" files have an owner's password only.
// clang-format off
const Case cases[] = {
    {"40 bits, restricted",
     "/V 1 /R 2 /P -4 /Length 40 /O <c92422687facee686e373f10b5c7d04738053152f7e2ee30e11c69ec442576ab> "
     "/U <982875fc5f737c0f165b9a7d667cbfdc029e9ee1e9c71d19b5d12e6f514fec34>",
     "561f795b33b67510ec6e8e1fc5546e21", true},
    {"40 bits with a password",
     "/V 1 /R 2 /P -4 /Length 40 /O <92fe0f4454ad4c9644693f33c07cb54f587dce1e2682fe9ecea6107a1ef630dd> "
     "/U <67ed63b8cb4e2c18b75986f9e960881f99ecebd264d688019ee8e646c45910b7>",
     "270fa02b9ca5c47d70c46c5b1d479a97", false},
    {"128 bits, restricted",
     "/V 2 /R 3 /P -4 /Length 128 /O <566fa873ee33c797cd3b904fdadf814afa34df9a38f6ed41b984e2c6da2aa6f5> "
     "/U <856b7c4ba762f7ad39154070c606fc100122456a91bae5134273a6db134c87c4>",
     "9dbe43cf449422c44904bc1e71f76043", true},
    {"128 bits with a password",
     "/V 2 /R 3 /P -4 /Length 128 /O <0db5855fc5326569e765906caf64e4429a4c20d6e996fdef963e9b5080f9e083> "
     "/U <eac8627fb918ec97a149b93574acfdaa0122456a91bae5134273a6db134c87c4>",
     "2e4270a2c8a4d7b50982158e6a9e1e25", false},
    {"128 bits AES, whose length stands in the crypt filter",
     "/V 4 /R 4 /P -4 /CF << /StdCF << /Length 16 >> >> "
     "/O <566fa873ee33c797cd3b904fdadf814afa34df9a38f6ed41b984e2c6da2aa6f5> "
     "/U <93701e8dca623429d8905af8abca02400122456a91bae5134273a6db134c87c4>",
     "cfe682dece177dcdb22e14f95489f5ac", true},
    {"128 bits AES with metadata in the clear",
     "/V 4 /R 4 /P -4 /EncryptMetadata false "
     "/O <566fa873ee33c797cd3b904fdadf814afa34df9a38f6ed41b984e2c6da2aa6f5> "
     "/U <fb3db6f09186cac2ac3ac3f6f556b1be0122456a91bae5134273a6db134c87c4>",
     "e23757940fd7de8f0979499d5452ef2b", true},
    {"256 bits, the simple digest",
     "/V 5 /R 5 /P -4 "
     "/U <f13c90a965118268bf4d8ae74929f077a9ace2d9e54e92fe40ab599b72ec23fc6ca3a3b200992dd1c1f6fe2baa8dd089>",
     "", true},
    {"256 bits, the slow digest",
     "/V 5 /R 6 /P -4 "
     "/U <7d92cef7943284a0b71ef8d3bed93e1f9860c66aa068071d3b61d3c903e2a1403447ff20a61be04cb66bd4404616eaa6>",
     "", true},
    {"256 bits whose owner's password alone is empty",
     "/V 5 /R 6 /P -4 "
     "/O <645f52450723040859eca0a3293e0e5083546c03983bd6cead964a6a491b8b21490325a6f21dde5f57dfb0db7c9e0bab> "
     "/U <f7a7e237a794127b6ce1b332fdb4c4d4519f4f3d4e42fca1451139ebb970bf71d4d6804fb24cea0a189fc8cdc3d5aad8>",
     "", true},
    {"256 bits with a password",
     "/V 5 /R 6 /P -4 "
     "/U <92b1224ba5331dd5c976a57a71d1d749fdfd90f835be6f81d43b6ad59bb9e7a74bbe97b4468d9d455855f3459c6020ac>",
     "", false},
    {"values that are missing", "/V 2 /R 3", "", false},
    {"a digest that is cut short", "/V 5 /R 6 /U <7d92>", "", false},
    {"a revision to come", "/V 6 /R 7 /U <00>", "", false},
};
// clang-format on

TEST(PdfPassword, TellsRestrictedFromProtectedFiles)
{
    for (const Case& each : cases) {
        SCOPED_TRACE(each.what);
        const auto identifier = pdfString("<" + each.identifier + ">");
        EXPECT_EQ(opensWithEmptyPassword("<< /Filter /Standard " + each.entries + " >>", identifier.value()),
                  each.opens);
        EXPECT_FALSE(opensWithEmptyPassword("<< /Filter /Adobe.PubSec " + each.entries + " >>", identifier.value()));
    }
}

TEST(PdfPassword, ReadsStringsAsTheyAreWritten)
{
    EXPECT_EQ(pdfString(R"((a\(b\)\\(c)\n\53\0053))"), "a(b)\\(c)\n+\0053");
    EXPECT_EQ(pdfString("(line\\\r\nbroken\\\n)"), "linebroken");
    EXPECT_EQ(pdfString("<4 1\n4F5>"), "AOP");
    for (const char* other : {"<< /A 1 >>", "/Name", "(", ""})
        EXPECT_FALSE(pdfString(other)) << other;
}

} // namespace
} // namespace nivex
