// Text made on several threads, as its output sees it.

#include "tools/forms/TextBlocks.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <string>

#include "Columns/dictionary/DictionaryFacts.h"
#include "Platform/text/QUAVMB.h"
#include "datasrc/SystemFileDataSource.h"
#include "tests/support/Seeds.h"
#include "tools/forms/TextCases.h"
#include "tools/messages/ToolError.h"

namespace TextBlocks_test {
namespace {

constexpr std::size_t kWidth = 24;

// A file in memory that takes what an output has written, whether it is finished or not.
class Written {
 public:
  Written() : m_file(memfd_create("written", MFD_CLOEXEC)) {}
  ~Written() { close(m_file); }
  Written(const Written&) = delete;
  Written& operator=(const Written&) = delete;

  // Standard output goes to the file until the result dies.
  class Redirection {
   public:
    explicit Redirection(int file) : m_old(dup(STDOUT_FILENO)) { dup2(file, STDOUT_FILENO); }
    ~Redirection() {
      dup2(m_old, STDOUT_FILENO);
      close(m_old);
    }
    Redirection(const Redirection&) = delete;
    Redirection& operator=(const Redirection&) = delete;

   private:
    int m_old;
  };
  Redirection TakeOutput() const { return Redirection(m_file); }

  std::string Text() const {
    std::string text(static_cast<std::size_t>(lseek(m_file, 0, SEEK_END)), '\0');
    EXPECT_EQ(static_cast<ssize_t>(text.size()), pread(m_file, text.data(), text.size(), 0));
    return text;
  }

 private:
  int m_file;
};

class TextBlocks : public testing::TestWithParam<int> {
 protected:
  TextBlocks() {
    SetUTF8mode(1);
    m_source.MakeVariable(Named(QUAV_Variable(0), "n"), nullptr);
    m_source.MakeVariable(Named(QUAV_Variable(kWidth), "t"), nullptr);
  }
  ~TextBlocks() override { SetUTF8mode(0); }

  static QUAV_Variable Named(QUAV_Variable variable, const char* name) {
    variable.SetName(name);
    return variable;
  }

  // Writes so many cases. The text of the case `bad` needs quotes that the dialect does not have; the reader fails after
  // the last case when it `fails`. Returns what reaches the output, and the error.
  std::string Write(int cases, int bad, bool fails, tool::TaskPool* pool, std::size_t blockSize) {
    const Written written;
    std::string error;
    {
      const auto redirection = written.TakeOutput();
      tool::Output output("");
      tool::CsvDialect dialect;
      dialect.quote.reset();
      tool::TextCases writer(m_source, tool::AllColumns(m_source), kUtf8Name, tool::CaseForm::csv, dialect, {}, output,
                             pool, blockSize);
      std::vector<OBS> cells(m_source.GetObsAreaSize());
      try {
        writer.Begin();
        for (int i = 0; i < cases; ++i) {
          cells[0] = NumberCell(i / 8.0);
          std::string text = (i == bad ? "a,b" : "case ") + std::to_string(i);
          text.resize(kWidth, ' ');
          std::ranges::copy(text, CellText(&cells[1]));
          writer.WriteCase(cells.data());
        }
        if (fails) {
          writer.CatchUp();
          throw tool::ToolError("the reader fails", "");
        }
        writer.End();
        output.Finish();
      } catch (const tool::ToolError& failure) {
        error = failure.what();
      }
    }
    return written.Text() + error;
  }

  SystemFileDataSource m_source;
};

// The output writes pieces of 256 KiB and a bit: failures come before, between and after them.
TEST_P(TextBlocks, WriteAsMuchAsOneThreadBeforeAFailure) {
  tool::TaskPool pool(GetParam());
  for (const int bad : {-1, 0, 1, 9'999, 25'000, 39'998, 39'999})
    for (const bool fails : {false, true}) {
      const std::string expected = Write(40'000, bad, fails, nullptr, 1);
      for (const std::size_t blockSize :
           {std::size_t{1}, std::size_t{3000}, std::size_t{100'000}, std::size_t{4'000'000}}) {
        if (blockSize == 1 && (GetParam() == 5 || bad % kPlaceStep != 0)) continue;
        SCOPED_TRACE(testing::Message() << "case " << bad << ", blocks of " << blockSize);
        EXPECT_TRUE(expected == Write(40'000, bad, fails, &pool, blockSize));
      }
    }
}

TEST_P(TextBlocks, AreEmptyWithoutCases) {
  tool::TaskPool pool(GetParam());
  EXPECT_EQ("n,t\n", Write(0, -1, false, &pool, 1));
  EXPECT_FALSE(pool.IsStarted());
}

INSTANTIATE_TEST_SUITE_P(Threads, TextBlocks, testing::Values(2, 5));

}  // namespace
}  // namespace TextBlocks_test
