// The in-memory IStream: reading, writing past the end, seeking, sizing, clones and copies.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "com/com.h"
#include "support/data_table.h"

namespace lmk {
namespace {

ComPtr<IStream> MakeStream(const std::string& bytes) {
  ComPtr<IStream> stream;
  stream.Attach(SHCreateMemStream(reinterpret_cast<const BYTE*>(bytes.data()),
                                  static_cast<UINT>(bytes.size())));
  return stream;
}

std::string ReadAll(IStream* stream, ULONG size = 100) {
  std::string buffer(size, '\0');
  ULONG read = 0;
  EXPECT_EQ(stream->Read(buffer.data(), size, &read), S_OK);  // a short read is S_OK too
  buffer.resize(read);
  return buffer;
}

ULONGLONG Seek(IStream* stream, LONGLONG move, DWORD origin = STREAM_SEEK_SET,
               HRESULT expected = S_OK) {
  LARGE_INTEGER li;
  li.QuadPart = move;
  ULARGE_INTEGER position;
  position.QuadPart = 0xDEAD;
  EXPECT_EQ(stream->Seek(li, origin, &position), expected);
  return position.QuadPart;
}

ULONGLONG SizeOf(IStream* stream) {
  STATSTG stat{};
  EXPECT_EQ(stream->Stat(&stat, STATFLAG_NONAME), S_OK);
  EXPECT_EQ(stat.type, static_cast<DWORD>(STGTY_STREAM));
  return stat.cbSize.QuadPart;
}

TEST(MemoryStream, ReadsACopyAndWritesOverAndPastTheEnd) {
  std::string initial = "abcdef";
  ComPtr<IStream> stream = MakeStream(initial);
  initial[0] = 'j';
  EXPECT_EQ(ReadAll(stream.Get()), "abcdef");
  EXPECT_EQ(ReadAll(stream.Get()), "");
  Seek(stream.Get(), 4);
  ULONG written = 0;
  ASSERT_EQ(stream->Write("XYZ", 3, &written), S_OK);
  EXPECT_EQ(written, 3u);
  EXPECT_EQ(Seek(stream.Get(), 2, STREAM_SEEK_END), 9u);
  ASSERT_EQ(stream->Write("c", 1, nullptr), S_OK);
  Seek(stream.Get(), 0);
  EXPECT_EQ(ReadAll(stream.Get()), std::string("abcdXYZ\0\0c", 10));
  ComPtr<IStream> empty;
  empty.Attach(SHCreateMemStream(nullptr, 0));
  EXPECT_EQ(SizeOf(empty.Get()), 0u);
}

class MemoryStreamSeekTest : public ::testing::TestWithParam<test::CaseRow> {};

TEST_P(MemoryStreamSeekTest, Moves) {
  const test::CaseRow& c = GetParam();
  ComPtr<IStream> stream = MakeStream("0123456789");
  Seek(stream.Get(), std::stoll(c[0]));
  // The origins' values are their places in this list.
  const std::string origins = "set cur end";
  const DWORD origin = origins.find(c[2]) != std::string::npos
                           ? static_cast<DWORD>(origins.find(c[2]) / 4)
                           : static_cast<DWORD>(std::stoul(c[2]));
  Seek(stream.Get(), std::stoll(c[1]), origin, c[3] == "ok" ? S_OK : STG_E_INVALIDFUNCTION);
  EXPECT_EQ(Seek(stream.Get(), 0, STREAM_SEEK_CUR), std::stoull(c[4]));
}

INSTANTIATE_TEST_SUITE_P(Seeks, MemoryStreamSeekTest,
                         ::testing::ValuesIn(test::ReadCaseTable("cases/stream_seeks.tsv")),
                         [](const auto& info) { return info.param.name; });

TEST(MemoryStream, SetSizeTruncatesAndGrows) {
  ComPtr<IStream> stream = MakeStream("abcdef");
  ULARGE_INTEGER size;
  size.QuadPart = 2;
  ASSERT_EQ(stream->SetSize(size), S_OK);
  EXPECT_EQ(ReadAll(stream.Get()), "ab");
  size.QuadPart = 4;
  ASSERT_EQ(stream->SetSize(size), S_OK);
  Seek(stream.Get(), 0);
  EXPECT_EQ(ReadAll(stream.Get()), std::string("ab\0\0", 4));
  size.QuadPart = ULONGLONG{1} << 33;
  EXPECT_EQ(stream->SetSize(size), STG_E_MEDIUMFULL);
}

TEST(MemoryStream, CloneSharesBytesButNotPositionAndCopyToItDoesNotDeadlock) {
  ComPtr<IStream> stream = MakeStream("abcdef");
  Seek(stream.Get(), 2);
  ComPtr<IStream> clone;
  ASSERT_EQ(stream->Clone(&clone), S_OK);
  EXPECT_EQ(ReadAll(clone.Get(), 2), "cd");
  EXPECT_EQ(Seek(stream.Get(), 0, STREAM_SEEK_CUR), 2u);
  ASSERT_EQ(clone->Write("Z", 1, nullptr), S_OK);
  EXPECT_EQ(ReadAll(stream.Get()), "cdZf");
  Seek(stream.Get(), 0);
  Seek(clone.Get(), 0, STREAM_SEEK_END);
  ULARGE_INTEGER count;
  count.QuadPart = 6;
  ASSERT_EQ(stream->CopyTo(clone.Get(), count, nullptr, nullptr), S_OK);
  EXPECT_EQ(SizeOf(stream.Get()), 12u);
}

TEST(MemoryStream, CopyToAdvancesSourceAndAppendsToTarget) {
  ComPtr<IStream> source = MakeStream("0123456789");
  ComPtr<IStream> target = MakeStream("");
  Seek(source.Get(), 3);
  ULARGE_INTEGER count, read, written;
  count.QuadPart = 4;
  ASSERT_EQ(source->CopyTo(target.Get(), count, &read, &written), S_OK);
  EXPECT_EQ(read.QuadPart, 4u);
  EXPECT_EQ(written.QuadPart, 4u);
  EXPECT_EQ(ReadAll(source.Get()), "789");
  count.QuadPart = 100;
  Seek(source.Get(), 8);
  ASSERT_EQ(source->CopyTo(target.Get(), count, &read, nullptr), S_OK);
  EXPECT_EQ(read.QuadPart, 2u);
  Seek(target.Get(), 0);
  EXPECT_EQ(ReadAll(target.Get()), "345689");
}

TEST(MemoryStream, LocksAreRefusedAndNullPointersInvalid) {
  ComPtr<IStream> stream = MakeStream("abc");
  ULARGE_INTEGER offset{}, size{};
  EXPECT_EQ(stream->Commit(STGC_DEFAULT), S_OK);
  EXPECT_EQ(stream->Revert(), S_OK);
  EXPECT_EQ(stream->LockRegion(offset, size, kLockTypeWrite), STG_E_INVALIDFUNCTION);
  EXPECT_EQ(stream->UnlockRegion(offset, size, kLockTypeWrite), STG_E_INVALIDFUNCTION);
  ComPtr<ISequentialStream> sequential;
  ASSERT_EQ(stream.As(&sequential), S_OK);
  EXPECT_EQ(stream->Read(nullptr, 1, nullptr), STG_E_INVALIDPOINTER);
  EXPECT_EQ(stream->Stat(nullptr, STATFLAG_NONAME), STG_E_INVALIDPOINTER);
}

}  // namespace
}  // namespace lmk
