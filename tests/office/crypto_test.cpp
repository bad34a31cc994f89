// Encrypted workbooks: written by us, decrypted by msoffcrypto-tool; read by
// us with the right password only; damaged compound files refused.
#include <gtest/gtest.h>

#include "office_support.hpp"
#include "output/compound_file.hpp"
#include "output/office_crypto.hpp"
#include "output/workbook.hpp"

namespace vantrove {
namespace {

using namespace testing_support;
using nlohmann::json;

int32_t ErrorOf(const std::function<void()>& f) {
  try {
    f();
  } catch (const RuntimeError& e) {
    return e.number();
  }
  return 0;
}

TEST(CompoundFile, StreamsRoundTripSmallAndLarge) {
  std::string big(200000, '\0');
  for (size_t i = 0; i < big.size(); ++i) big[i] = static_cast<char>(i * 7);
  const std::string file = office::WriteCompoundFile({{"Small", "tiny stream"}, {"LargeOne", big}});
  std::string out;
  ASSERT_TRUE(office::ReadCompoundStream(file, "small", out));
  EXPECT_EQ(out, "tiny stream");
  ASSERT_TRUE(office::ReadCompoundStream(file, "LargeOne", out));
  EXPECT_EQ(out, big);
  EXPECT_FALSE(office::ReadCompoundStream(file, "Missing", out));
  // Beyond the header's 109 allocation-table sectors (about 7 MB).
  std::string huge(9 << 20, 'x');
  const std::string file2 = office::WriteCompoundFile({{"A", "a"}, {"Huge", huge}});
  ASSERT_TRUE(office::ReadCompoundStream(file2, "Huge", out));
  EXPECT_EQ(out.size(), huge.size());
  EXPECT_EQ(out, huge);
  // Damaged: cut short, or chains pointing anywhere.
  EXPECT_EQ(ErrorOf([&] { office::ReadCompoundStream(file.substr(0, 700), "LargeOne", out); }), 1004);
  std::string bad = file;
  for (size_t i = 512; i < 1024; i += 4) bad[i] = static_cast<char>(0x7F);
  EXPECT_EQ(ErrorOf([&] { office::ReadCompoundStream(bad, "LargeOne", out); }), 1004);
}

TEST(EncryptedWorkbook, MsoffcryptoDecryptsWhatWeEncrypt) {
  REQUIRE_PYTHON_MODULE("openpyxl");
  REQUIRE_PYTHON_MODULE("msoffcrypto");
  TempFolder tmp;
  {
    auto wb = xlsx::Workbook::Create();
    wb->ActiveSheet().SetCell(1, 1, "secret ✓");
    wb->ActiveSheet().SetCell(2, 1, 42.0, false);
    wb->SaveAs(tmp / "locked.xlsx", "pässword");
  }
  EXPECT_TRUE(office::IsEncryptedPackage(Slurp(tmp / "locked.xlsx")));
  int status = 0;
  RunShell("msoffcrypto-tool -p " + Quote("pässword") + " " + Quote(tmp / "locked.xlsx") + " " + Quote(tmp / "plain.xlsx"),
           status);
  ASSERT_EQ(status, 0);
  const json s = ReadWith("read_xlsx.py", tmp / "plain.xlsx")["sheets"][0];
  EXPECT_EQ(s["cells"]["A1"][0], "secret ✓");
  EXPECT_EQ(s["cells"]["A2"][0], 42);
  RunShell("msoffcrypto-tool -p wrong " + Quote(tmp / "locked.xlsx") + " " + Quote(tmp / "nope.xlsx") + " 2>/dev/null",
           status);
  EXPECT_NE(status, 0);
}

TEST(EncryptedWorkbook, OpensWithItsPasswordOnlyAndStaysEncrypted) {
  TempFolder tmp;
  {
    auto wb = xlsx::Workbook::Create();
    wb->ActiveSheet().SetCell(1, 1, "first");
    wb->SaveAs(tmp / "locked.xlsx", "pw");
  }
  EXPECT_EQ(ErrorOf([&] { xlsx::Workbook::Open(tmp / "locked.xlsx"); }), 1004);
  EXPECT_EQ(ErrorOf([&] { xlsx::Workbook::Open(tmp / "locked.xlsx", "PW"); }), 1004);
  auto wb = xlsx::Workbook::Open(tmp / "locked.xlsx", "pw");
  wb->ActiveSheet().SetCell(1, 2, "second");
  wb->Save();  // saved with the password it was opened with
  EXPECT_TRUE(office::IsEncryptedPackage(Slurp(tmp / "locked.xlsx")));
  auto again = xlsx::Workbook::Open(tmp / "locked.xlsx", "pw");
  EXPECT_EQ(again->SheetCount(), 1);
  // A compound file that is no encrypted package.
  Spit(tmp / "other.xlsx", office::WriteCompoundFile({{"WordDocument", "not a package"}}));
  EXPECT_EQ(ErrorOf([&] { xlsx::Workbook::Open(tmp / "other.xlsx", "pw"); }), 1004);
}

}  // namespace
}  // namespace vantrove
