#include "filter/CodeShape.h"

#include <QString>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

TEST(CodeShape, codeOfEveryKindIsCodeWhileProseQuotingItIsNot) {
    const QString code[] = {
        u"for (int i = 0; i < n; ++i) {\n    sum += a[i];\n}"_s,
        u"std::vector<int> v;"_s,
        u"def greet(name):\n    return \"Hello, \" + name"_s,
        u"SELECT name, email FROM users WHERE id = 42;"_s,
        u"select * from users where id = 1"_s,
        u"git commit -m \"Fix the login bug\""_s,
        u"sudo apt install ripgrep"_s,
        u"ls -la /tmp"_s,
        u"$ make -j4"_s,
        u">>> print(x)"_s,
        u"#include <stdio.h>"_s,
        u"import os\nimport sys"_s,
        u"x = compute(a, b)\ny = x + 1"_s,
        u"const x = require('y');"_s,
        u"foo();"_s,
        // Statements with comments after them, and a declaration split over lines.
        u"\tint qlen;\t\t/* Length of input event queue */\n"
        "\tunsigned long request;\t/* sequence number of last request. */"_s,
        u"  static CastInst *CreateCast(\n    Value *S,   ///< The pointer value\n"
        "    Type *Ty,   ///< The type to cast to\n  );"_s,
        u"class Storage : public Base {\npublic:\n  ValueTy second;\n};"_s,
        u"if [ -f \"$file\" ]; then\n    echo found\nfi"_s,
    };
    const QString prose[] = {
        u"Call print() to see what it returns."_s,
        u"Use std::vector<int> instead of arrays; it grows."_s,
        u"grep me no patterns and I'll tell you no lines."_s,
        u"Select the best from the list."_s,
        u"With love, as always,\nyour friend"_s,
        u"For example:\n  the cat sat on the mat\n  and the dog slept"_s,
        u"1 Mole\t\t= 007 Secret Agents\n2 pints\t\t= 1 Cavort\n1 Sagan\t\t= Billions & Billions"_s,
        u"<Joy> that's a Kludge(TM)\n<knghtbrd> no it doesn't ;)"_s,
        u"there may be no spoon, but can you spot the bug in\neye_render_shiny_object.c?"_s,
        u"The Way bears all things;\nHarmony nurtures them;\nNature shapes them;"_s,
        u"As to Jesus of Nazareth, I think the system of Morals and his Religion,\n"
        "with most of the present Dissenters in England, some doubts as to his\ndivinity."_s,
        u"Q: What is 2 + 2?\nA: Four."_s,
        u"%\n  A little pain never hurt anyone."_s,
        // Single tokens: options and names are words to look up; the identifier rule
        // judges them.
        u"--help"_s,
        u"getUserName"_s,
    };
    for (const QString& text : code)
        EXPECT_TRUE(CodeShape::looksLikeCode(text)) << text.toStdString();
    for (const QString& text : prose)
        EXPECT_FALSE(CodeShape::looksLikeCode(text)) << text.toStdString();
}
