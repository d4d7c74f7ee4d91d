#include "platform/linux/dictionaries/MarkupText.h"

#include "harness/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using MarkupText::Flavour;

TEST(MarkupTextTest, ReducesMarkupToWhatAReaderSees) {
    const struct {
        Flavour flavour;
        QString markup;
        QString text;
    } cases[] = {
        {Flavour::html, u"<b>water</b> n.<br/>水"_s, u"water n.\n水"_s},
        {Flavour::html, u"line one\n   line two"_s, u"line one line two"_s},
        {Flavour::html, u"<p>first</p><P class=x>second</P>"_s, u"first\nsecond"_s},
        {Flavour::html, u"<ul><li>one</li><li>two</li></ul>after"_s, u"one\ntwo\nafter"_s},
        {Flavour::html, u"<p>\n\n</p><p>x</p><br><br><br><br>y"_s, u"x\n\ny"_s},
        {Flavour::html, u"a &lt; b &amp;&amp; c &gt; d &quot;q&quot; &#39;s &#x4E2D;"_s,
         u"a < b && c > d \"q\" 's 中"_s},
        {Flavour::html, u"&foo; & alone &#xD800; &#0; &#99999999;"_s,
         u"&foo; & alone &#xD800; &#0; &#99999999;"_s},
        {Flavour::html, u"<script>if (a<b) x='</b>';</script>shown<STYLE>p{}</style>"_s,
         u"shown"_s},
        {Flavour::html, u"<!-- a <b> comment -->kept<!-- never closed"_s, u"kept"_s},
        {Flavour::html, u"a <a href=\"x>y\" title='>'>link</a> b"_s, u"a link b"_s},
        {Flavour::html, u"1 < 2 and 3 <= 4"_s, u"1 < 2 and 3 <= 4"_s},
        {Flavour::html, u"<![CDATA[<raw> & text]]>"_s, u"<raw> & text"_s},
        {Flavour::html, u"<table><tr><td>n.</td><td>水</td></tr><tr><td>v.</td></tr></table>"_s,
         u"n.水\nv."_s},
        {Flavour::html, u"unclosed <b"_s, u"unclosed"_s},
        {Flavour::pango, u"<b>water</b>\n  <i>n.</i> 水  \n\n\n\nend"_s,
         u"water\n  n. 水\n\nend"_s},
        {Flavour::pango, u"<span size=\"large\">&lt;tag&gt;</span>"_s, u"<tag>"_s},
        {Flavour::xdxf,
         u"<k>water</k>\n<tr>ˈwɔːtə</tr> <abr>n.</abr>\n<blockquote>水</blockquote><blockquote>浇水</blockquote>"_s,
         u"water\n[ˈwɔːtə] n.\n水\n浇水"_s},
    };
    for (const auto& [flavour, markup, text] : cases)
        EXPECT_EQ(MarkupText::toPlainText(markup, flavour), text) << qPrintable(markup);
}
