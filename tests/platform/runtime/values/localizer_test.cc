// How texts are put together from the catalogue and arguments that may come from anybody.
#include "platform/runtime/values/localizer.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using Quon::L10n::LocalizableMessage;
using Quon::L10n::Localizer;
using Quon::L10n::MakeMessage;

TEST(Localizer, FillsInTheArgumentsOnceAndFallsBackToEnglish) {
    const LocalizableMessage message =
        Localizer({"xx_YY"}).Localize("quon.unauthorized", {"%2 of %1", "read"});
    EXPECT_EQ(message.defaultMessage.find("The operation \"%2 of %1\" requires the privilege "
                                          "\"read\""),
              0U)
        << message.defaultMessage;
    EXPECT_EQ(message.args.size(), 2U);
    EXPECT_EQ(MakeMessage("no.such.message", {"x"}).defaultMessage, "no.such.message");
    EXPECT_NE(MakeMessage("quon.unauthorized", {"x"}).defaultMessage.find("\"%2\""),
              std::string::npos);
}

}  // namespace
