#include "XMessageBox.h"

#include <gtest/gtest.h>

namespace {

/// Brings back the handler that was set before.
class ScopedHandler {
 public:
  explicit ScopedHandler(XMessageBoxHandler handler) : before_(XfnSetMessageBoxHandler(std::move(handler))) {}
  ~ScopedHandler() { XfnSetMessageBoxHandler(before_); }

 private:
  XMessageBoxHandler before_;
};

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
