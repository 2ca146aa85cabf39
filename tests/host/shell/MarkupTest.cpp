// SPDX-License-Identifier: MIT
#include "host/shell/Markup.h"

#include <gtest/gtest.h>

namespace orlo::host {
namespace {

TEST(Markup, CharactersWithAMeaningBecomeReferences) {
    EXPECT_EQ(XmlText(R"(<a b="c" d='e'>&amp;</a>)"),
              "&lt;a b=&quot;c&quot; d='e'&gt;&amp;amp;&lt;/a&gt;");
}

TEST(Markup, ATextIsOneLineOfUtf8) {
    EXPECT_EQ(XmlText("\xc3\xa9\n\x1b\xff"), "\xc3\xa9\\n\\x1b\\xff");
}

}  // namespace
}  // namespace orlo::host
