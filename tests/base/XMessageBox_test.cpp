#include "XMessageBox.h"

#include <gtest/gtest.h>
#include <pty.h>
#include <unistd.h>

#include <atomic>
#include <string_view>
#include <thread>
#include <vector>

namespace {

/// Brings back the handler that was set before.
class ScopedHandler {
 public:
  explicit ScopedHandler(XMessageBoxHandler handler) : before_(XfnSetMessageBoxHandler(std::move(handler))) {}
  ~ScopedHandler() { XfnSetMessageBoxHandler(before_); }

 private:
  XMessageBoxHandler before_;
};

/// A terminal in the place of stdin, and of stderr where asked, with `typed` waiting on it.
class ScopedTerminal {
 public:
  ScopedTerminal(std::string_view typed, bool hasStderr) : input_(dup(STDIN_FILENO)), errors_(dup(STDERR_FILENO)) {
    if (openpty(&keyboard_, &terminal_, nullptr, nullptr, nullptr) != 0) return;
    isOpen_ = write(keyboard_, typed.data(), typed.size()) == static_cast<ssize_t>(typed.size());
    dup2(terminal_, STDIN_FILENO);
    if (hasStderr) dup2(terminal_, STDERR_FILENO);
  }
  ~ScopedTerminal() {
    dup2(input_, STDIN_FILENO);
    dup2(errors_, STDERR_FILENO);
    for (const int descriptor : {input_, errors_, keyboard_, terminal_}) close(descriptor);
  }
  bool IsOpen() const { return isOpen_; }

 private:
  int input_, errors_;
  int keyboard_ = -1, terminal_ = -1;
  bool isOpen_ = false;
};

/// The answer of the default handler to a question, where `typed` stands on the terminal.
int AnswerTo(std::string_view typed) {
  const ScopedHandler scope({});
  const ScopedTerminal terminal(typed, true);
  EXPECT_TRUE(terminal.IsOpen());
  return XfnMessageBox("Go on?", "Question", kMessageYesNo);
}

TEST(XMessageBox, AsksOnTheTerminalIfThereIsOne) {
  EXPECT_EQ(kAnswerYes, AnswerTo("y\n"));
  EXPECT_EQ(kAnswerYes, AnswerTo("Yes\n"));
  EXPECT_EQ(kAnswerNo, AnswerTo("n\n"));
  EXPECT_EQ(kAnswerNo, AnswerTo("\n"));
  EXPECT_EQ(kAnswerNo, AnswerTo("of course\n"));
}

TEST(XMessageBox, AQuestionThatNobodySeesIsNotAsked) {
  const ScopedHandler scope({});
  testing::internal::CaptureStderr();
  const ScopedTerminal terminal("y\n", false);
  EXPECT_EQ(kAnswerNo, XfnMessageBox("Go on?", "Question", kMessageYesNo));
  testing::internal::GetCapturedStderr();
}

TEST(XMessageBox, SettingAHandlerAnswersTheOneBefore) {
  const ScopedHandler scope([](const XString&, const XString&, unsigned) { return 42; });
  const XMessageBoxHandler before =
      XfnSetMessageBoxHandler([](const XString&, const XString&, unsigned) { return 43; });
  EXPECT_EQ(42, before("", "", kMessageOk));
  EXPECT_EQ(43, XfnMessageBox("", "", kMessageOk));
}

TEST(XMessageBox, AHandlerMayAskAgainAndSetAnother) {
  const ScopedHandler scope([](const XString&, const XString&, unsigned) {
    XfnSetMessageBoxHandler([](const XString&, const XString&, unsigned) { return 7; });
    return XfnMessageBox("again", "", kMessageYesNo);
  });
  EXPECT_EQ(7, XfnMessageBox("first", "", kMessageYesNo));
}

TEST(XMessageBoxThreads, TheHandlerIsCalledOnTheThreadThatAsks) {
  std::atomic<int> numAsked = 0;
  const auto asker = [&](const XString&, const XString&, unsigned style) {
    ++numAsked;
    return static_cast<int>(style);
  };
  const ScopedHandler scope(asker);
  std::vector<std::thread> threads;
  for (unsigned t = 0; t < 8; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(static_cast<int>(t), XfnMessageBox("text", "caption", t));
        XfnSetMessageBoxHandler(asker);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(800, numAsked);
}

TEST(XMessageBox, AsksTheHandlerThatIsSet) {
  XString asked;
  const ScopedHandler scope([&](const XString& text, const XString& caption, unsigned style) {
    asked.Format("%s|%s|%u", text.GetText(), caption.GetText(), style);
    return static_cast<int>(kAnswerYes);
  });
  EXPECT_EQ(kAnswerYes, XfnMessageBox("Go on?", "Question", kMessageYesNo | kMessageIconQuestion));
  EXPECT_EQ("Go on?|Question|36", asked.AsStdString());
}

TEST(XMessageBox, WithoutATerminalTheAnswerIsNo) {
  const ScopedHandler scope({});
  testing::internal::CaptureStderr();  // which makes stderr a file
  EXPECT_EQ(kAnswerNo, XfnMessageBox("Go on?", "Question", kMessageYesNo));
  EXPECT_EQ("Question: Go on?\n", testing::internal::GetCapturedStderr());
}

TEST(XMessageBox, WithoutAQuestionTheAnswerIsOk) {
  const ScopedHandler scope({});
  testing::internal::CaptureStderr();
  EXPECT_EQ(kAnswerOk, XfnMessageBox("Done", "Report", kMessageOk));
  EXPECT_EQ("Report: Done\n", testing::internal::GetCapturedStderr());
}

}  // namespace
