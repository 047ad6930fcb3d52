#include "btosif/osif_util/content_type.h"

#include <gtest/gtest.h>

namespace content_type_test {
namespace {

struct BoundaryCase {
  const char* content_type;
  std::optional<std::string> boundary;
};

class MultipartBoundaryOf : public testing::TestWithParam<BoundaryCase> {};

TEST_P(MultipartBoundaryOf, ATypeIsTakenFromBehindItsEqualsSign) {
  EXPECT_EQ(MultipartBoundary(GetParam().content_type), GetParam().boundary)
      << GetParam().content_type;
}

INSTANTIATE_TEST_SUITE_P(
    Types, MultipartBoundaryOf,
    testing::Values(BoundaryCase{"multipart/mixed; boundary=abc", "abc"},
                    BoundaryCase{"multipart/mixed; boundary=abc;x=y", "abc"},
                    BoundaryCase{"multipart/mixed; boundary=abc def", "abc"},
                    BoundaryCase{"multipart/mixed; boundary=\"a b;c\"; x=y", "a b;c"},
                    BoundaryCase{"multipart/mixed;boundary=\"abc\"def", "abc"},
                    BoundaryCase{"multipart/mixed; x=y; boundary=a=b", "a=b"},
                    BoundaryCase{"Multipart/Mixed; Boundary=abc", "abc"},
                    BoundaryCase{"multipart/mixed; boundary = abc", "abc"},
                    BoundaryCase{"multipart/mixed; boundary=\"\"", ""},
                    BoundaryCase{"multipart/mixed", std::nullopt},
                    BoundaryCase{"multipart/mixed; boundary", std::nullopt},
                    BoundaryCase{"multipart/mixed; boundary abc", std::nullopt},
                    BoundaryCase{"text/plain; boundary=abc", std::nullopt},
                    BoundaryCase{"boundary=abc; multipart/mixed", std::nullopt},
                    BoundaryCase{"", std::nullopt}));

struct NameCase {
  const char* content_type;
  std::optional<std::string> name;
};

class AttachmentNameOf : public testing::TestWithParam<NameCase> {};

TEST_P(AttachmentNameOf, ATypeIsTakenFromBehindItsEqualsSign) {
  EXPECT_EQ(AttachmentName(GetParam().content_type), GetParam().name) << GetParam().content_type;
}

INSTANTIATE_TEST_SUITE_P(
    Types, AttachmentNameOf,
    testing::Values(
        NameCase{"image/gif; name=a.gif", "a.gif"}, NameCase{"image/gif; name=a.gif b", "a.gif"},
        NameCase{"image/gif;name=a.gif", "a.gif"}, NameCase{"image/gif;\tname=a.gif", "a.gif"},
        NameCase{"image/gif name=a.gif", "a.gif"}, NameCase{"image/gif; name=a.gif;b", "a.gif;b"},
        NameCase{"image/gif; name=  a.gif", "a.gif"},
        NameCase{"image/gif; name=\"a b.gif\"; x=y", "a b.gif"},
        NameCase{"image/gif; name=  \"a;b\"", "a;b"}, NameCase{"image/gif; NAME=A.gif", "A.gif"},
        NameCase{"image/gif; name=../../x", "../../x"}, NameCase{"image/gif; name=\"\"", ""},
        NameCase{"image/gif; name", std::nullopt}, NameCase{"image/gif", std::nullopt},
        NameCase{"", std::nullopt}));

INSTANTIATE_TEST_SUITE_P(OtherParameters, AttachmentNameOf,
                         testing::Values(NameCase{"text/plain; filename=a.txt", std::nullopt},
                                         NameCase{"text/plain; x-filename=a.txt", std::nullopt},
                                         NameCase{"text/plain; x-name=a.txt", std::nullopt},
                                         NameCase{"text/plain; FileName=\"a.txt\"", std::nullopt},
                                         NameCase{"text/plain; x=\"a; name=b\"", std::nullopt},
                                         NameCase{"text/plain; x=\"a\\\"; name=b\"", std::nullopt},
                                         NameCase{"text/plain; x=\"; name=b", std::nullopt},
                                         NameCase{"text/plain; filename=a.txt; name=b.txt",
                                                  "b.txt"},
                                         NameCase{"text/plain; x=\"a; name=b\"; name=c", "c"}));

}  // namespace
}  // namespace content_type_test
