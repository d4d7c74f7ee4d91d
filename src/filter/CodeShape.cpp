#include "filter/CodeShape.h"

#include "base/UnicodeText.h"

#include <QList>
#include <algorithm>

namespace CodeShape {
namespace {

// Directives after "#" at a line's start.
constexpr QStringView kDirectives[] = {u"include", u"define", u"if",   u"ifdef",  u"ifndef",
                                       u"endif",   u"else",   u"elif", u"pragma", u"undef",
                                       u"error",   u"import", u"!"};
// Lower-case words that open a statement. Alone they are weak evidence: prose has them too.
constexpr QStringView kStatementWords[] = {
    u"return",    u"if",      u"elif",    u"else",     u"for",      u"while",   u"try",
    u"except",    u"finally", u"with",    u"import",   u"from",     u"def",     u"class",
    u"raise",     u"yield",   u"pass",    u"break",    u"continue", u"fi",      u"done",
    u"esac",      u"then",    u"do",      u"end",      u"case",     u"switch",  u"static",
    u"const",     u"let",     u"var",     u"fn",       u"func",     u"public",  u"private",
    u"protected", u"void",    u"int",     u"struct",   u"enum",     u"typedef", u"template",
    u"namespace", u"using",   u"package", u"async",    u"await",    u"lambda",  u"assert",
    u"del",       u"global",  u"local",   u"function", u"echo",     u"export",  u"unset"};
// Words that open a statement only in code: a line opening with one is a declaration.
constexpr QStringView kDeclarationOpeners[] = {u"def", u"elif", u"typedef", u"namespace",
                                               u"fn",  u"func", u"struct",  u"enum"};
// Command names that open a command line; with an option or a path after them they are
// commands, whatever follows.
constexpr QStringView kCommands[] = {
    u"git",        u"sudo",    u"apt",    u"apt-get",    u"dpkg",    u"npm",     u"npx",
    u"yarn",       u"pnpm",    u"pip",    u"pip3",       u"python",  u"python3", u"node",
    u"docker",     u"kubectl", u"cargo",  u"rustc",      u"gcc",     u"g++",     u"clang",
    u"cmake",      u"ctest",   u"make",   u"ls",         u"cd",      u"cp",      u"mv",
    u"rm",         u"mkdir",   u"rmdir",  u"chmod",      u"chown",   u"ln",      u"cat",
    u"grep",       u"sed",     u"awk",    u"find",       u"curl",    u"wget",    u"ssh",
    u"scp",        u"rsync",   u"tar",    u"unzip",      u"zip",     u"brew",    u"systemctl",
    u"journalctl", u"export",  u"source", u"bash",       u"sh",      u"zsh",     u"vim",
    u"nano",       u"less",    u"head",   u"tail",       u"touch",   u"which",   u"kill",
    u"ps",         u"tmux",    u"conda",  u"gradle",     u"mvn",     u"javac",   u"java",
    u"go",         u"echo",    u"printf", u"ssh-keygen", u"openssl", u"gpg",     u"crontab",
    u"sort",       u"uniq",    u"xargs",  u"diff",       u"patch",   u"du",      u"df",
    u"mount",      u"ip",      u"ping"};
// Commands that no English sentence opens with, lower case: enough on their own with an
// argument.
constexpr QStringView kUnmistakableCommands[] = {
    u"git",     u"sudo",       u"apt",     u"apt-get", u"dpkg",      u"npm",        u"npx",
    u"pip",     u"pip3",       u"docker",  u"kubectl", u"cargo",     u"cmake",      u"chmod",
    u"chown",   u"mkdir",      u"grep",    u"sed",     u"awk",       u"curl",       u"wget",
    u"ssh",     u"scp",        u"rsync",   u"tar",     u"systemctl", u"journalctl", u"ls",
    u"cd",      u"rm",         u"cp",      u"mv",      u"yarn",      u"pnpm",       u"brew",
    u"python3", u"ssh-keygen", u"openssl", u"gcc",     u"g++",       u"rustc",      u"javac"};
constexpr QStringView kSqlOpeners[] = {u"SELECT", u"INSERT", u"UPDATE", u"DELETE",
                                       u"CREATE", u"DROP",   u"ALTER",  u"WITH"};
constexpr QStringView kSqlClauses[] = {u"FROM",   u"INTO", u"SET",   u"TABLE", u"WHERE",
                                       u"VALUES", u"JOIN", u"INDEX", u"VIEW",  u"AS"};
constexpr QStringView kLowerSqlOpeners[] = {u"select", u"insert", u"update", u"delete"};
constexpr QStringView kLowerSqlClauses[] = {u"from", u"into", u"set", u"where", u"values"};
// Operators that stand as tokens of their own in code and never in prose.
// A lone "=", "&" or "|" is not among them: prose tables and lists use them ("1 Mole = 007
// Secret Agents", "Billions & Billions"); an assignment has its own test.
constexpr QStringView kOperators[] = {u"==", u"!=", u"<=",  u">=",  u"+=", u"-=", u"*=",
                                      u"/=", u"&&", u"||",  u"=>",  u"->", u"<<", u">>",
                                      u"++", u":=", u"===", u"!==", u"::"};

// Lines that are a label of their own in code.
constexpr QStringView kLabels[] = {
    u"public:", u"private:", u"protected:", u"default:", u"else:", u"try:", u"finally:", u"do",
    u"done",    u"fi",       u"esac",       u"then",     u"else",  u"end",  u"pass",     u"break;"};

enum class LineKind { neutral, prose, weakCode, code };

template <size_t N> bool isOneOf(QStringView word, const QStringView (&set)[N]) {
    return std::find(std::begin(set), std::end(set), word) != std::end(set);
}

bool isWordCharacter(QChar c) {
    return c.isLetterOrNumber() || c == u'_';
}

QList<QStringView> tokensOf(QStringView line) {
    QList<QStringView> tokens;
    tokens.reserve(line.size() / 4);
    qsizetype start = -1;
    for (qsizetype i = 0; i <= line.size(); ++i) {
        const bool blank = i == line.size() || UnicodeText::isWhiteSpace(line[i].unicode());
        if (!blank && start < 0)
            start = i;
        if (blank && start >= 0) {
            tokens.append(line.sliced(start, i - start));
            start = -1;
        }
    }
    return tokens;
}

QStringView withoutTrailingPunctuation(QStringView token) {
    while (!token.isEmpty() && UnicodeText::isAmong(token.back(), u".,;:!?\"')"))
        token.chop(1);
    return token;
}

QStringView withoutWrapping(QStringView token) {
    while (!token.isEmpty() && UnicodeText::isAmong(token.front(), u"(\"'\u201C\u2018"))
        token = token.sliced(1);
    return withoutTrailingPunctuation(token);
}

// A word of prose: letters, with inner hyphens and apostrophes, at least two letters.
bool isProseWord(QStringView token) {
    token = withoutWrapping(token);
    if (token.size() < 2)
        return false;
    for (QChar c : token) {
        if (!(c.isLetter() || c == u'-' || c == u'\'' || c == u'\u2019'))
            return false;
    }
    return token.front().isLetter();
}

// Most tokens are plain words ("the", "whale,"): ASCII letters, perhaps a stop after them.
// Their letter count, or -1 for any other token.
qsizetype plainWordLetters(QStringView token) {
    qsizetype letters = 0;
    while (letters < token.size() &&
           ((token[letters].unicode() | 0x20) >= u'a' && (token[letters].unicode() | 0x20) <= u'z'))
        ++letters;
    for (qsizetype i = letters; i < token.size(); ++i) {
        if (!UnicodeText::isAmong(token[i], u".,;:!?"))
            return -1;
    }
    return letters > 0 ? letters : -1;
}

// A token only code is made of: a call, an index, a template, scope or member arrows, braces,
// an inner semicolon, snake_case names, shell variables, options, operators. CamelCase alone
// is no sign: prose is full of names like "PowerPoint" and "McDonald".
bool isCodeToken(QStringView token) {
    if (token.size() <= 3 && isOneOf(token, kOperators))
        return true;
    const QStringView core = withoutTrailingPunctuation(token);
    if (core.isEmpty())
        return false;
    if (core.size() >= 2 && core.front() == u'-' && (core[1].isLetter() || core[1] == u'-') &&
        !(core.size() >= 2 && core[1] == u'-' && core.size() == 2))
        return true; // -v, --force
    if (core.size() >= 2 && core.front() == u'$' &&
        (core[1].isLetter() || core[1] == u'{' || core[1] == u'_' || core[1] == u'('))
        return true;
    // Emoticons (";)", ":-)", ";>") are punctuation only.
    if (std::none_of(core.begin(), core.end(), [](QChar c) { return c.isLetterOrNumber(); }))
        return false;
    for (qsizetype i = 0; i < core.size(); ++i) {
        const QChar c = core[i];
        const QChar previous = i > 0 ? core[i - 1] : QChar();
        const QChar next = i + 1 < core.size() ? core[i + 1] : QChar();
        if (c == u'{' || c == u'}' || c == u';')
            return true;
        if ((c == u'(' || c == u'[' || c == u'<') && i > 0 && isWordCharacter(previous))
            return true; // f(x), a[i], vector<int>
        if ((c == u':' && next == u':') || (c == u'-' && next == u'>') ||
            (c == u'=' && i > 0 && next != QChar()))
            return true;
        if (c == u'_' && i > 0 && previous.isLetterOrNumber() && next.isLetter())
            return true;
        if (i == 0 && (c == u'*' || c == u'&') && next.isLetter() && !core.sliced(1).contains(c))
            return true; // *pointer, &reference (not *emphasis*)
        if (c == u'.' && previous.isLower() && next.isLower() && i + 2 < core.size() &&
            core.sliced(i + 1).contains(u'('))
            return true; // obj.method(
    }
    return false;
}

// A single token that only code is made of: braces, a statement's end, a call or an index, a
// template, a scope. Options and names alone ("--help", "getUserName") are words to look up.
bool isStatementToken(QStringView token) {
    for (qsizetype i = 0; i < token.size(); ++i) {
        const QChar c = token[i];
        const QChar next = i + 1 < token.size() ? token[i + 1] : QChar();
        if (c == u'{' || c == u'}' || (c == u';' && i > 0))
            return true;
        if ((c == u'(' || c == u'[' || c == u'<') && i > 0 && isWordCharacter(token[i - 1]))
            return true;
        if ((c == u':' && next == u':') || (c == u'-' && next == u'>'))
            return true;
    }
    return false;
}

bool startsWithWord(QStringView line, QStringView word) {
    return line.startsWith(word) &&
           (line.size() == word.size() || !isWordCharacter(line[word.size()]));
}

bool isComment(QStringView line) {
    if (line.startsWith(u"//") || line.startsWith(u"/*") || line.startsWith(u"*/") ||
        line.startsWith(u"<!--"))
        return true;
    if (line.startsWith(u'*') && (line.size() == 1 || line[1] == u' ' || line[1] == u'/'))
        return true;
    if (line.startsWith(u"--") && (line.size() == 2 || line[2] == u' '))
        return true;
    if (line.startsWith(u'#') && (line.size() == 1 || line[1] == u' ' || line[1] == u'#'))
        return true;
    return line == u"\"\"\"" || line == u"'''";
}

bool isDirective(QStringView line) {
    if (!line.startsWith(u'#'))
        return false;
    const QStringView rest = line.sliced(1);
    return std::any_of(
        std::begin(kDirectives), std::end(kDirectives), [rest](QStringView directive) {
            return startsWithWord(rest, directive) || (directive == u"!" && rest.startsWith(u"!/"));
        });
}

bool isOnlyBrackets(QStringView line) {
    return std::all_of(line.begin(), line.end(),
                       [](QChar c) { return UnicodeText::isAmong(c, u"{}()[];, "); });
}

bool endsSentence(QStringView line) {
    if (line.endsWith(u"...") || line.endsWith(u"\u2026"))
        return false;
    return line.endsWith(u'.') || line.endsWith(u'!') || line.endsWith(u'?') ||
           line.endsWith(u".\"") || line.endsWith(u"!\"") || line.endsWith(u"?\"");
}

bool isPrompt(QStringView line) {
    if (!line.contains(u'$') && !line.contains(u'>'))
        return false;
    if (line.startsWith(u"$ ") || line.startsWith(u">>> ") || line.startsWith(u"PS ") ||
        line.startsWith(u"C:\\>"))
        return !line.startsWith(u"PS ") || line.contains(u":\\");
    // user@host:~/src$ make
    const qsizetype dollar = line.indexOf(u"$ ");
    const qsizetype at = line.indexOf(u'@');
    const qsizetype colon = line.indexOf(u':');
    return dollar > 0 && at > 0 && at < colon && colon < dollar &&
           !line.first(dollar).contains(u' ');
}

bool isCommandLine(const QList<QStringView>& tokens) {
    if (tokens.size() < 2 || !isOneOf(tokens[0], kCommands))
        return false;
    const QStringView argument = tokens[1];
    const bool technicalArgument = argument.startsWith(u'-') || argument.contains(u'/') ||
                                   argument.contains(u'=') || argument.startsWith(u'~') ||
                                   argument.startsWith(u'.') || argument.startsWith(u'$') ||
                                   argument.startsWith(u'"') || argument.startsWith(u'\'');
    return technicalArgument || isOneOf(tokens[0], kUnmistakableCommands);
}

bool isSql(const QList<QStringView>& tokens) {
    if (tokens.size() < 3)
        return false;
    // In capitals, the keywords are enough.
    if (isOneOf(tokens[0], kSqlOpeners)) {
        return std::any_of(tokens.begin() + 1, tokens.end(), [](QStringView token) {
            return isOneOf(withoutTrailingPunctuation(token), kSqlClauses);
        });
    }
    // In lower case, "select the best from the list" has the words too: a query also has
    // a star, a comparison, a call or a statement's end.
    if (!isOneOf(tokens[0], kLowerSqlOpeners))
        return false;
    bool clause = false;
    bool symbol = false;
    for (qsizetype i = 1; i < tokens.size(); ++i) {
        clause = clause || isOneOf(withoutTrailingPunctuation(tokens[i]), kLowerSqlClauses);
        symbol = symbol || tokens[i].contains(u'*') || tokens[i].contains(u'=') ||
                 tokens[i].contains(u';') || tokens[i].contains(u'(');
    }
    return clause && symbol;
}

// "import os", "import numpy as np", "import a, b", "from x import y".
bool isImport(const QList<QStringView>& tokens) {
    if (tokens.size() >= 4 && tokens[0] == u"from" && tokens[2] == u"import")
        return true;
    if (tokens.isEmpty() || tokens[0] != u"import" || tokens.size() > 4 ||
        endsSentence(tokens.back()))
        return false;
    return tokens.size() == 2 || tokens[2] == u"as" || tokens[1].endsWith(u',') ||
           tokens[1].contains(u'.');
}

// NAME = value, self.size += 1, FOO=bar: an identifier on the left of an assignment.
bool isAssignment(QStringView line) {
    qsizetype i = 0;
    if (i >= line.size() || !(line[i].isLetter() || line[i] == u'_' || line[i] == u'$'))
        return false;
    while (i < line.size() &&
           (isWordCharacter(line[i]) || UnicodeText::isAmong(line[i], u".[]'\"$>-")))
        ++i;
    while (i < line.size() && UnicodeText::isBlank(line[i]))
        ++i;
    if (i < line.size() && UnicodeText::isAmong(line[i], u"+-*/%|&^:."))
        ++i;
    if (i + 1 >= line.size() || line[i] != u'=' || line[i + 1] == u'=')
        return false;
    return true;
}

// What a line holds before a comment that follows code: "int qlen;  /* queue length */",
// "x = 1  # count", "Value *S,  ///< the pointer".
// Where a comment opens after a blank, for `sign` ("/" opens "//" and "/*", "#" opens "# ").
qsizetype commentStart(QStringView line, QChar sign) {
    for (qsizetype i = line.indexOf(sign, 1); i > 0 && i + 1 < line.size();
         i = line.indexOf(sign, i + 1)) {
        const QChar next = line[i + 1];
        const bool opens = sign == u'#' ? next == u' ' : next == u'/' || next == u'*';
        if (opens && UnicodeText::isBlank(line[i - 1]))
            return i;
    }
    return line.size();
}

QStringView withoutTrailingComment(QStringView line) {
    // Searching for the two signs keeps long lines of prose cheap.
    const qsizetype start = std::min(commentStart(line, u'/'), commentStart(line, u'#'));
    const QStringView code = UnicodeText::trimmedOfBlanks(line.first(start));
    return code.isEmpty() ? line : code;
}

LineKind classify(QStringView line, bool indented) {
    if (isComment(line))
        return LineKind::neutral;
    line = withoutTrailingComment(line);
    if (isDirective(line) || isOnlyBrackets(line) || line.endsWith(u'{') || line.endsWith(u'(') ||
        isPrompt(line) || isOneOf(line, kLabels))
        return LineKind::code;
    // Rules, ornaments and stray signs ("* * *", "%", "-- ") say nothing either way.
    if (std::none_of(line.begin(), line.end(), [](QChar c) { return c.isLetterOrNumber(); }))
        return LineKind::neutral;
    const QList<QStringView> tokens = tokensOf(line);
    // "grep me no patterns and I'll tell you no lines." is a sentence, not a command.
    const bool sentenceLike = endsSentence(line) && tokens.size() >= 5;
    if ((isCommandLine(tokens) && !sentenceLike) || isSql(tokens) || isAssignment(line) ||
        isImport(tokens))
        return LineKind::code;
    qsizetype codeTokens = 0;
    qsizetype proseWords = 0;
    for (QStringView token : tokens) {
        if (const qsizetype letters = plainWordLetters(token); letters >= 0)
            proseWords += letters >= 2 ? 1 : 0;
        else if (isCodeToken(token))
            ++codeTokens;
        else if (isProseWord(token))
            ++proseWords;
    }
    const QStringView first = tokens.front();
    if (isOneOf(first, kDeclarationOpeners) && codeTokens > 0)
        return LineKind::code;
    // "int qlen;", "return x;": short statements. A line of verse opens with a capital
    // ("Harmony nurtures them;").
    const bool shortStatement = tokens.size() <= 3 && !line.front().isUpper();
    if (line.endsWith(u';') && (codeTokens * 2 >= proseWords || shortStatement))
        return LineKind::code;
    const bool sentence = first.front().isUpper() && endsSentence(line);
    if (codeTokens > 0 && codeTokens * 2 > proseWords && !sentence)
        return LineKind::code;
    if (!endsSentence(line) &&
        (isOneOf(first, kStatementWords) || line.endsWith(u':') || line.endsWith(u',') ||
         line.endsWith(u'(') || codeTokens > 0 || (indented && first.front().isLower())))
        return LineKind::weakCode;
    return LineKind::prose;
}

qsizetype indentOf(QStringView line) {
    qsizetype width = 0;
    for (QChar c : line) {
        if (c == u' ')
            ++width;
        else if (c == u'\t')
            width += 4;
        else
            break;
    }
    return width;
}

} // namespace

bool looksLikeCode(QStringView text) {
    if (!UnicodeText::containsWhiteSpace(text))
        return isStatementToken(text);
    QList<QStringView> lines;
    qsizetype start = 0;
    for (qsizetype i = 0; i <= text.size(); ++i) {
        if (i < text.size() && !UnicodeText::isLineBreak(text[i].unicode()))
            continue;
        lines.append(text.sliced(start, i - start));
        start = i + 1;
    }
    qsizetype leastIndent = -1;
    for (QStringView line : lines) {
        if (!UnicodeText::trimmedOfBlanks(line).isEmpty())
            leastIndent = leastIndent < 0 ? indentOf(line) : std::min(leastIndent, indentOf(line));
    }
    qsizetype code = 0;
    qsizetype weak = 0;
    qsizetype prose = 0;
    for (QStringView line : lines) {
        const QStringView content = UnicodeText::trimmedOfBlanks(line);
        if (content.isEmpty())
            continue;
        switch (classify(content, indentOf(line) > leastIndent)) {
        case LineKind::code:
            ++code;
            break;
        case LineKind::weakCode:
            ++weak;
            break;
        case LineKind::prose:
            ++prose;
            break;
        case LineKind::neutral:
            break;
        }
    }
    // Clear lines of code, and the lines that read as code at least as many as prose. One
    // line of code among prose is a quotation ("the bug is in eye_render_object.c?").
    return code > 0 && code + weak >= prose && (code >= 2 || prose == 0);
}

} // namespace CodeShape
