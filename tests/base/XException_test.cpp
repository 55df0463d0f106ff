#include "XException.h"

#include "XFileException.h"
#include "XMessageBox.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>

namespace {

TEST(XException, IsThrownByValueWithItsCause) {
  try {
    XException::ThrowError(ENOSPC);
  } catch (const XException& exception) {
    EXPECT_EQ(static_cast<unsigned long>(ENOSPC), exception.GetCause());
    return;
  }
  FAIL() << "nothing was thrown";
}

TEST(XException, ThrowingNeverReturns) {
  EXPECT_THROW(XException::ThrowError(0), XException);
}

TEST(XFileException, IsThrownByValueWithItsFile) {
  try {
    XFileException::ThrowError(ENOENT, "a.tif");
    FAIL();
  } catch (const XFileException& exception) {
    EXPECT_EQ("a.tif", exception.GetFileName().AsStdString());
    EXPECT_EQ(static_cast<unsigned long>(ENOENT), exception.GetCause());
  }
}

TEST(XFileException, IsCaughtAsItsBase) {
  EXPECT_THROW(XFileException::ThrowError(1, "a"), XException);
}

TEST(XFileException, KnowsItsClasses) {
  const XFileException exception;
  EXPECT_STREQ("XFileException", exception.GetRuntimeClass()->className);
  EXPECT_TRUE(exception.IsKindOf(XException::GetRuntimeClassStatic()));
  EXPECT_TRUE(exception.IsKindOf(XObject::GetRuntimeClassStatic()));
}

TEST(XException, SaysItsCauseInWords) {
  XString title, text, advice = "old";
  XException(ENOSPC).GetErrorText(title, text, advice);
  EXPECT_STREQ(std::strerror(ENOSPC), text);
  EXPECT_TRUE(advice.IsEmpty());
  XException(0).GetErrorText(title, text, advice);
  EXPECT_EQ("The operation failed", text.AsStdString());
}

TEST(XFileException, ReportsTheFileToTheOperator) {
  XString shown;
  const XMessageBoxHandler before = XfnSetMessageBoxHandler([&](const XString& text, const XString&, unsigned) {
    shown = text;
    return static_cast<int>(kAnswerOk);
  });
  XFileException(ENOENT, "a.tif").ReportError();
  EXPECT_EQ(XString("a.tif : ") + std::strerror(ENOENT), shown);
  XException(ENOENT).ReportError();
  EXPECT_STREQ(std::strerror(ENOENT), shown);
  XfnSetMessageBoxHandler(before);
}

}  // namespace
