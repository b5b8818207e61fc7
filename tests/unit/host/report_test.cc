// After: reports on the wrong thread, shown in spite of a quiet scope, or lost when there are many; texts
// that are mistranslated or cut inside a character.
#include <thread>

#include "Support.h"
#include "host/RND.h"
#include "u/Texts.h"

namespace {

using pftest::ReportTexts;
using Texts = std::vector<std::string>;

class Reports : public testing::Test {
 protected:
  void SetUp() override {
    PFhost_ClearReports();
    Up_SetThreadLastError(0);
  }
};

TEST_F(Reports, CarryWhatWasReportedInOrder) {
  EXPECT_EQ(U_ReportFailedVerification(0x2503E7, 42, 0, "broken"), 3);
  EXPECT_EQ(Up_ReportErrString(0x250001, 8, "bad"), 3);
  std::snprintf(Up_GetThreadLoggingBuffer(), U_LOGGING_BUFFER_SIZE, "in the %s", "buffer");
  Up_ReportError(0x77, 16);
  EXPECT_EQ(ReportTexts(), (Texts{"broken", "bad", "in the buffer"}));
  PFhost_Report report;
  ASSERT_EQ(PFhost_GetReport(0, &report), 0);
  EXPECT_EQ(report.kind, PFHOST_REPORT_VERIFICATION);
  EXPECT_EQ(report.identifier, 0x2503E7u);
  EXPECT_EQ(report.line, 42);
  ASSERT_EQ(PFhost_GetReport(2, &report), 0);
  EXPECT_EQ(report.kind, PFHOST_REPORT_ERROR);
  EXPECT_EQ(report.identifier >> 16, 0x77u);
  EXPECT_EQ(PFhost_GetReport(3, &report), 3);
  EXPECT_EQ(PFhost_GetReport(-1, &report), 3);
  PFhost_ClearReports();
  EXPECT_EQ(PFhost_ReportCount(), 0);
  EXPECT_EQ(PFhost_ThreadLastError(), 3);
}

TEST_F(Reports, AreKeptQuietUntilTheOutermostScopeEnds) {
  U_StartQuietErrorsOnCurrentThread();
  U_StartQuietErrorsOnCurrentThread();
  Up_ReportErrString(1, 8, "inner");
  EXPECT_EQ(U_EndQuietErrorsOnCurrentThread(), 0);
  Up_ReportErrString(1, 8, "outer");
  EXPECT_EQ(U_EndQuietErrorsOnCurrentThread(), 0);
  EXPECT_EQ(PFhost_ReportCount(), 0);
  EXPECT_EQ(PFhost_ThreadLastError(), 3) << "the code is not kept from the program";
  Up_ReportErrString(1, 8, "after");
  EXPECT_EQ(ReportTexts(), Texts{"after"});
  EXPECT_NE(U_EndQuietErrorsOnCurrentThread(), 0) << "no scope is open";
}

TEST_F(Reports, BelongToTheirThread) {
  U_StartQuietErrorsOnCurrentThread();
  std::thread([] {
    Up_ReportErrString(1, 8, "elsewhere");
    EXPECT_EQ(ReportTexts(), Texts{"elsewhere"});
    EXPECT_EQ(PFhost_ThreadLastError(), 3);
  }).join();
  EXPECT_EQ(U_EndQuietErrorsOnCurrentThread(), 0);
  EXPECT_EQ(PFhost_ReportCount(), 0);
  EXPECT_EQ(PFhost_ThreadLastError(), 0);
}

TEST_F(Reports, OfManyTheNewestStay) {
  for (int i = 0; i < 300; ++i) Up_ReportErrString(1, 8, std::to_string(i).c_str());
  EXPECT_EQ(PFhost_ReportCount(), 300);
  const Texts texts = ReportTexts();
  ASSERT_EQ(texts.size(), 256u);
  EXPECT_EQ(texts.front(), "44");
  EXPECT_EQ(texts.back(), "299");
}

constexpr const char* kKeyed[] = {"$$$/A/0=can#{rsquo}t and won#{rsquo}t", "$$$/A/1=invalid image (^L1 = ^L2)"};
constexpr U_ZStringTable kTable = {2, kKeyed};

TEST(Text, IsTheDefaultWithoutACatalogue) {
  EXPECT_STREQ(U_ZLookupLStrCache(&kTable, 0, 0, 0), "can\u2019t and won\u2019t");
  EXPECT_STREQ(U_ZLookupLStrCache(&kTable, 1, 0, 0), "invalid image (^L1 = ^L2)");
  EXPECT_EQ(U_ZLookupLStrCache(&kTable, 0, 0, 0), U_ZLookup(kKeyed[0])) << "looked up once";
  EXPECT_EQ(U_ZLookupLStrCache(&kTable, 2, 0, 0), nullptr);
  EXPECT_EQ(U_ZLookupLStrCache(&kTable, -1, 0, 0), nullptr);
  EXPECT_EQ(U_ZLookupLStrCache(nullptr, 0, 0, 0), nullptr);
  EXPECT_EQ(U_ZLookup("no key"), nullptr);
  EXPECT_EQ(U_ZLookup("$$$/key/without/text"), nullptr);
  pfhost::StopTexts();
}

TEST(Text, ComesFromTheCatalogueWhereItHasOne) {
  const pftest::ScratchFolder folder;
  const std::string file = folder.File(
      "fr.txt", "\xEF\xBB\xBF# French\r\n\r\n$$$/A/0=n#{rsquo}importe = quoi\r\n$$$/A/1=\n$$$/Other=autre\n");
  ASSERT_EQ(pfhost::StartTexts(file.c_str()), 0);
  EXPECT_STREQ(U_ZLookupLStrCache(&kTable, 0, 0, 0), "n\u2019importe = quoi");
  EXPECT_STREQ(U_ZLookupLStrCache(&kTable, 1, 0, 0), "invalid image (^L1 = ^L2)") << "not translated yet";
  pfhost::StopTexts();
  EXPECT_STREQ(U_ZLookup(kKeyed[0]), "can\u2019t and won\u2019t");
  pfhost::StopTexts();

  PFhost_ClearReports();
  EXPECT_EQ(pfhost::StartTexts((file + ".missing").c_str()), 3);
  const std::string bad = folder.File("bad.txt", "$$$/A/0=a\nno equals sign\n");
  EXPECT_EQ(pfhost::StartTexts(bad.c_str()), 3);
  EXPECT_NE(ReportTexts().back().find("line 2"), std::string::npos);
  pfhost::StopTexts();
}

std::string Substituted(const char* text, const char* first, const char* second, std::uint64_t size) {
  std::string out(static_cast<std::size_t>(size) + 4, '#');
  U_SubString(text, first, second, out.data(), size);
  EXPECT_EQ(out.substr(static_cast<std::size_t>(size)), "####") << "written behind the end";
  return out.c_str();
}

TEST(Text, SubstitutesItsMarksAndIsCutBetweenCharacters) {
  struct Row {
    const char *text, *first, *second;
    std::uint64_t size;
    const char* expected;
  };
  for (const Row& row :
       {Row{"(^L1x^L2)", "640", "480", 64, "(640x480)"}, Row{"^L2^L1^L1", "a", "b", 64, "baa"},
        Row{"^L1 ^L2", nullptr, "b", 64, "^L1 b"}, Row{"^L1", "^L2", "b", 64, "^L2"},
        Row{"^^L1^L3^", "a", "b", 64, "^a^L3^"}, Row{"", "a", "b", 64, ""}, Row{nullptr, "a", "b", 64, ""},
        Row{"abcdef", "", "", 4, "abc"}, Row{"^L1d", "abc", "", 4, "abc"}, Row{"^L1z", "a\u2019", "", 4, "a"},
        Row{"^L1z", "a\u2019", "", 5, "a\u2019"}, Row{"\U0001F600\U0001F600z", "", "", 8, "\U0001F600"},
        Row{"abc", "", "", 1, ""}}) {
    EXPECT_EQ(Substituted(row.text, row.first, row.second, row.size), row.expected);
  }
  U_SubString("a", "", "", nullptr, 0);
}

TEST(RandomTable, HasAPrimeLengthAndTheContentsOfItsStandardGenerator) {
  const std::uint32_t *table = nullptr, *again = nullptr;
  std::int64_t length = 0;
  ASSERT_EQ(RND_GetPrimeSizedTable(&table, &length), 0);
  ASSERT_GT(length, 9999);
  for (std::int64_t divisor = 2; divisor * divisor <= length; ++divisor) ASSERT_NE(length % divisor, 0) << divisor;
  // The first value, and the 10000th, which the language's standard prints.
  EXPECT_EQ(table[0], 3499211612u);
  EXPECT_EQ(table[9999], 4123659995u);
  ASSERT_EQ(RND_GetPrimeSizedTable(&again, &length), 0);
  EXPECT_EQ(table, again);
  EXPECT_EQ(RND_GetPrimeSizedTable(nullptr, &length), 3);
}

}  // namespace
