#include "XException.h"
#include "XFileException.h"
#include "XMessageBox.h"

#include <gtest/gtest.h>
#include <cerrno>
#include <vector>

namespace {

struct Message {
  XString text;
  XString caption;
  unsigned style = 0;
};

/// What `exception` shows to the operator.
std::vector<Message> Report(XException& exception) {
  std::vector<Message> messages;
  const XMessageBoxHandler before =
      XfnSetMessageBoxHandler([&](const XString& text, const XString& caption, unsigned style) {
        messages.push_back({text, caption, style});
        return static_cast<int>(kAnswerOk);
      });
  exception.ReportError();
  XfnSetMessageBoxHandler(before);
  return messages;
}

XString TextOf(unsigned long cause) {
  XString title, text, advice;
  XException(cause).GetErrorText(title, text, advice);
  return text;
}

}  // namespace

TEST(XException, IsThrownByValueWithItsCause) {
  try {
    XException::ThrowError(ENOSPC);
  } catch (const XException& exception) {
    EXPECT_EQ(exception.GetCause(), static_cast<unsigned long>(ENOSPC));
    EXPECT_EQ(exception.GetRuntimeClass(), XException::GetRuntimeClassStatic());
    return;
  }
  FAIL() << "nothing was thrown";
}

TEST(XException, ThrowErrorNeverReturns) {
  EXPECT_THROW(XException::ThrowError(1), XException);
  EXPECT_THROW(XFileException::ThrowError(1, "a.bmp"), XFileException);
}

TEST(XException, TheTextOfASystemErrorIsItsSentence) {
  EXPECT_EQ(TextOf(ENOENT), "No such file or directory");
  EXPECT_EQ(TextOf(ENOSPC), "No space left on device");
}

TEST(XException, WithoutACauseTheOperationFailed) {
  EXPECT_EQ(TextOf(0), "The operation failed");
}

TEST(XException, EveryCauseHasATextAndATitle) {
  for (const unsigned long cause : {0ul, 1ul, 99999ul, ~0ul}) {
    XString title, text, advice("old");
    XException(cause).GetErrorText(title, text, advice);
    EXPECT_FALSE(title.IsEmpty()) << cause;
    EXPECT_FALSE(text.IsEmpty()) << cause;
    EXPECT_TRUE(advice.IsEmpty()) << cause;
  }
}

TEST(XException, ReportsThroughTheMessageBoxAsAnError) {
  XException exception(ENOENT);
  const std::vector<Message> messages = Report(exception);
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(messages[0].text, "No such file or directory");
  EXPECT_FALSE(messages[0].caption.IsEmpty());
  EXPECT_EQ(messages[0].style, kMessageOk | kMessageIconError);
}

TEST(XFileException, IsCaughtAsTheBaseAndKeepsItsName) {
  try {
    XFileException::ThrowError(EACCES, "/a/b.bmp");
  } catch (const XException& exception) {
    EXPECT_EQ(exception.GetCause(), static_cast<unsigned long>(EACCES));
    const auto* onFile = dynamic_cast<const XFileException*>(&exception);
    ASSERT_NE(onFile, nullptr);
    EXPECT_EQ(onFile->GetFileName(), "/a/b.bmp");
    return;
  }
  FAIL() << "nothing was thrown";
}

TEST(XFileException, ReportsTheNameInFront) {
  XFileException exception(ENOENT, "/a/b.bmp");
  const std::vector<Message> messages = Report(exception);
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(messages[0].text.Find("/a/b.bmp"), 0);
  EXPECT_GT(messages[0].text.Find("No such file or directory"), 0);
}

TEST(XFileException, SharesTheTextOfTheBase) {
  XString title, text, advice;
  XFileException(ENOENT, "/a/b.bmp").GetErrorText(title, text, advice);
  EXPECT_EQ(text, TextOf(ENOENT));
}

TEST(XFileException, IsOfTheKindOfItsBases) {
  const XFileException exception;
  EXPECT_EQ(exception.GetCause(), 0u);
  EXPECT_TRUE(exception.IsKindOf(XException::GetRuntimeClassStatic()));
  EXPECT_TRUE(exception.IsKindOf(XObject::GetRuntimeClassStatic()));
  EXPECT_FALSE(XException().IsKindOf(XFileException::GetRuntimeClassStatic()));
}
