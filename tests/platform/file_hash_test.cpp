// File digests against the published test vectors, and a file larger than one read block.
#include "platform/file_hash.h"

#include <gtest/gtest.h>

#include <fstream>

#include "support/temp_dir.h"

namespace lmk {
namespace {

struct HashCase {
  const char* name;
  HashAlgorithm algorithm;
  std::string data;
  std::wstring digest;
};

class Digest : public ::testing::TestWithParam<HashCase> {};

TEST_P(Digest, OfFileAndBytes) {
  test::ScopedTempDir dir;
  std::filesystem::path file = dir / "data.bin";
  std::ofstream(file, std::ios::binary) << GetParam().data;
  std::wstring hex;
  ASSERT_EQ(HashFile(file.wstring(), GetParam().algorithm, &hex), S_OK);
  EXPECT_EQ(hex, GetParam().digest);
  ASSERT_EQ(HashBytes(GetParam().data, GetParam().algorithm, &hex), S_OK);
  EXPECT_EQ(hex, GetParam().digest);
}

const HashCase kHashes[] = {
    {"Md5Abc", HashAlgorithm::kMd5, "abc", L"900150983cd24fb0d6963f7d28e17f72"},
    {"Md5Empty", HashAlgorithm::kMd5, "", L"d41d8cd98f00b204e9800998ecf8427e"},
    {"Sha1Abc", HashAlgorithm::kSha1, "abc", L"a9993e364706816aba3e25717850c26c9cd0d89d"},
    {"Sha256Abc", HashAlgorithm::kSha256, "abc",
     L"ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
    {"Sha384Abc", HashAlgorithm::kSha384, "abc",
     L"cb00753f45a35e8bb5a03d699ac65007272c32ab0eded1631a8b605a43ff5bed"
     L"8086072ba1e7cc2358baeca134c825a7"},
    {"Sha512Abc", HashAlgorithm::kSha512, "abc",
     L"ddaf35a193617abacc417349ae20413112e6fa4e89a97ea20a9eeee64b55d39a"
     L"2192992a274fc1a836ba3c23a3feebbd454d4423643ce80e2a9ac94fa54ca49f"},
    // One million 'a': sixteen blocks of 64 KB and a remainder.
    {"Sha1MillionA", HashAlgorithm::kSha1, std::string(1000000, 'a'),
     L"34aa973cd4c4daa4f61eeb2bdbad27316534016f"},
};

INSTANTIATE_TEST_SUITE_P(Platform, Digest, ::testing::ValuesIn(kHashes),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(FileHashTest, MissingFile) {
  test::ScopedTempDir dir;
  std::wstring hex = L"stale";
  EXPECT_EQ(HashFile((dir / "none").wstring(), HashAlgorithm::kMd5, &hex),
            HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
  EXPECT_TRUE(hex.empty());
  EXPECT_EQ(HashFile(dir.path().wstring(), HashAlgorithm::kMd5, &hex),
            HRESULT_FROM_WIN32(ERROR_CANTREAD));
}

}  // namespace
}  // namespace lmk
