// Taking FTP addresses apart, masking their passwords and collapsing their separators.
#include "platform/ftp_address.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/internet_error.h"
#include "support/data_table.h"

namespace lmk {
namespace {

using test::CaseRow;
using test::Wide;

// The rows of one kind of tests/data/cases/ftp_addresses.tsv, padded to six fields.
std::vector<CaseRow> Addresses(const std::string& kind) {
  return test::ReadCaseTable("cases/ftp_addresses.tsv", kind, 6);
}

const auto kName = [](const auto& info) { return info.param.name; };

class CrackTest : public ::testing::TestWithParam<CaseRow> {};

TEST_P(CrackTest, Parts) {
  const CaseRow& c = GetParam();
  FtpAddress address;
  const HRESULT hr = CrackFtpAddress(Wide(c[0]), &address);
  ASSERT_EQ(hr, c[1] == "invalid"  ? HRESULT_FROM_WIN32(internet_error::kInvalidUrl)
                : c[1] == "scheme" ? HRESULT_FROM_WIN32(internet_error::kUnrecognizedScheme)
                                   : S_OK);
  if (FAILED(hr)) return;
  EXPECT_EQ(address.host, Wide(c[1]));
  EXPECT_EQ(address.port, std::stoul(c[2]));
  EXPECT_EQ(address.user, Wide(c[3]));
  EXPECT_EQ(address.password, Wide(c[4]));
  EXPECT_EQ(address.path, Wide(c[5]));
}

INSTANTIATE_TEST_SUITE_P(FtpAddress, CrackTest, ::testing::ValuesIn(Addresses("crack")), kName);

class MaskTest : public ::testing::TestWithParam<CaseRow> {};

TEST_P(MaskTest, HidesOnlyThePassword) {
  EXPECT_EQ(MaskFtpPassword(Wide(GetParam()[0])), Wide(GetParam()[1]));
}

INSTANTIATE_TEST_SUITE_P(FtpAddress, MaskTest, ::testing::ValuesIn(Addresses("mask")), kName);

class NormalizeTest : public ::testing::TestWithParam<CaseRow> {};

TEST_P(NormalizeTest, CollapsesSeparators) {
  EXPECT_EQ(NormalizeFtpSeparators(Wide(GetParam()[0])), Wide(GetParam()[1]));
}

INSTANTIATE_TEST_SUITE_P(FtpAddress, NormalizeTest, ::testing::ValuesIn(Addresses("normalize")),
                         kName);

}  // namespace
}  // namespace lmk
