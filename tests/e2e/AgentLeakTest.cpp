#include "AgentProcess.h"
#include "filter/RejectReason.h"
#include "harness/CoreDump.h"
#include "harness/FakeModelServer.h"
#include "harness/ForeignClipboard.h"
#include "harness/FragmentSearch.h"
#include "harness/QuilletProcess.h"
#include "harness/SecretShapes.h"
#include "settings/TranslationSettings.h"

#include <QDeadlineTimer>
#include <QDirIterator>
#include <QFile>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using namespace LogLines;

namespace {

using Shape = SecretShapes::Shape;

// Which of the filter's rules refuse a shape: those for a single token, or those for what
// hides in longer text (keys inside prose, key-value lines, PEM blocks, passwords in
// addresses, card numbers, code over several lines).
enum class RefusedBy { tokenRules, textRules };

struct Row {
    const char* name;
    Shape (SecretShapes::*make)();
    // A secret must leave no trace anywhere; code need only be refused and never sent.
    bool secret;
    RefusedBy refusedBy;
};

constexpr RefusedBy kToken = RefusedBy::tokenRules;
constexpr RefusedBy kText = RefusedBy::textRules;

// Code first, so that the secrets are the last texts through the agent, and the longest
// secret last of all: a dump taken right after it is the hardest case.
const Row kRows[] = {
    {"C for loop", &SecretShapes::cForLoop, false, kText},
    {"C++ declaration", &SecretShapes::cppDeclaration, false, kText},
    {"Python function", &SecretShapes::pythonFunction, false, kText},
    {"SQL query", &SecretShapes::sqlQuery, false, kText},
    {"git commit command", &SecretShapes::gitCommit, false, kText},
    {"GitHub token", &SecretShapes::githubToken, true, kToken},
    {"AWS access key id", &SecretShapes::awsAccessKeyId, true, kToken},
    {"24-character mixed-case token", &SecretShapes::mixedCaseToken, true, kToken},
    {"card number", &SecretShapes::cardNumber, true, kText},
    {"URL with a password", &SecretShapes::urlWithPassword, true, kText},
    {"token inside a sentence", &SecretShapes::tokenInASentence, true, kText},
    {"password: …", &SecretShapes::passwordLine, true, kText},
    {"Authorization: Bearer JWT", &SecretShapes::bearerJwt, true, kText},
    {"export AWS_SECRET_ACCESS_KEY=…", &SecretShapes::awsSecretExport, true, kText},
    {"AWS key pair in an env file", &SecretShapes::awsKeyPairEnvFile, true, kText},
    {".env with an sk_live_ key and a database password", &SecretShapes::dotEnvWithKeyAndPassword,
     true, kText},
    {"OpenSSH private key", &SecretShapes::openSshPrivateKey, true, kText},
    {"RSA private key longer than the lookup limit", &SecretShapes::longRsaPrivateKey, true, kText},
    {"PGP private key block", &SecretShapes::pgpPrivateKey, true, kText},
};

// One copied shape and everything found wrong with it.
struct Copied {
    const Row* row;
    Shape shape;
    QStringList problems;
};

// A refusal that names its reason and nothing of the text. Which reason does not matter
// here: a secret refused as too long or as an address keeps no copy either.
bool refusesWithoutText(const QString& line) {
    for (int raw = 0; const std::optional<RejectReason> reason = RejectReasons::fromRawValue(raw);
         ++raw) {
        if (line == u"[拦截] 复制查词｜"_s + RejectReasons::description(*reason))
            return true;
    }
    return false;
}

QString encodingName(FragmentSearch::Encoding encoding) {
    return encoding == FragmentSearch::Encoding::utf8 ? u"UTF-8"_s : u"UTF-16"_s;
}

// The agent with a recording model server, copies through the real X clipboard, and the
// command line on the same home.
class AgentLeakTest : public testing::Test {
protected:
    void startAgent() {
        server.installed = {TranslationSettings::defaultModel};
        ASSERT_TRUE(server.listen());
        AgentProcess::Options options{.clipboardPollMs = 100, .fakeClock = false};
        options.defaults.insert(u"translation.endpoint"_s, server.endpoint());
        ASSERT_TRUE(agent.start(options));
        ASSERT_TRUE(agent.waitForLine(exactly(u"[触发] Quillet 已启动"_s), 10'000))
            << text(agent.lines());
        // The model's state is known before the first sentence arrives.
        const QDeadlineTimer deadline(5'000);
        while (!server.received("/api/tags") && !deadline.hasExpired())
            agent.drain(50);
        ASSERT_TRUE(server.received("/api/tags"));
    }

    // Copies the text and waits for the agent's decision about it: the refusal or the
    // lookup's trigger line.
    std::optional<QString> copyAndAwaitDecision(const QString& content) {
        const qsizetype mark = agent.mark();
        if (!clipboard.copy(content.toUtf8()))
            return std::nullopt;
        return agent.waitForLine(QRegularExpression(u"^\\[(拦截|触发)\\] 复制查词｜"_s),
                                 AgentProcess::lineTimeoutMs, mark);
    }

    // Runs `quillet check` and `quillet lookup` on the shape, as a person would paste it.
    void runCommands(Copied& copied) {
        const QString& content = copied.shape.text;
        const QuilletProcess::Run check = QuilletProcess::run({u"check"_s, content}, commands);
        const QuilletProcess::Run lookup = QuilletProcess::run({u"lookup"_s, content}, commands);
        commandOutput += check.out + check.err + lookup.out + lookup.err;
        if (check.exitCode != 1)
            copied.problems
                << u"`quillet check` lets it through (%1: %2)"_s.arg(check.exitCode).arg(check.out);
        if (lookup.exitCode != 1)
            copied.problems << u"`quillet lookup` answers it (%1)"_s.arg(lookup.exitCode);
    }

    void copyToAgent(Copied& copied) {
        const std::optional<QString> decision = copyAndAwaitDecision(copied.shape.text);
        if (!decision)
            copied.problems << u"the agent said nothing about the copy"_s;
        else if (decision->startsWith(u"[触发]"_s))
            copied.problems << u"the agent looks it up: "_s + *decision;
        else if (copied.row->secret && !refusesWithoutText(*decision))
            copied.problems << u"the agent logs some of it: "_s + *decision;
    }

    AgentProcess agent;
    ForeignClipboard clipboard;
    FakeModelServer server;
    QProcessEnvironment commands;
    QString commandOutput;
};

// Where the bodies of the copies turn up in `image`, noted against the copy they came from.
void noteTraces(const QList<Copied*>& searched, QByteArrayView image,
                const std::function<QString(qsizetype)>& where) {
    QStringList bodies;
    QList<Copied*> owners;
    for (Copied* copied : searched) {
        for (const QString& body : copied->shape.bodies) {
            bodies << body;
            owners << copied;
        }
    }
    for (const FragmentSearch::Hit& hit : FragmentSearch(bodies).find(image)) {
        owners[hit.text]->problems
            << u"%1 (%2 「%3」)"_s.arg(where(hit.offset), encodingName(hit.encoding), hit.fragment);
    }
}

} // namespace

TEST_F(AgentLeakTest, RefusedSecretsLeaveNoTraceAnywhereAndCodeIsNeverSent) {
    // New bodies each run; a failing run is repeated with its seed.
    bool repeated = false;
    const quint64 given = qEnvironmentVariable("QUILLET_LEAK_SEED").toULongLong(&repeated);
    const quint64 seed = repeated ? given : QRandomGenerator::system()->generate64();
    std::printf("shapes from QUILLET_LEAK_SEED=%llu\n", static_cast<unsigned long long>(seed));
    SecretShapes shapes(seed);
    QList<Copied> copies;
    for (const Row& row : kRows)
        copies.append({&row, (shapes.*row.make)(), {}});

    ASSERT_NO_FATAL_FAILURE(startAgent());
    commands = QuilletProcess::environmentWithHome(agent.home());

    // Something the agent must still hold when its memory is searched: the last text it
    // looked up, with a body made for this run as well.
    const Shape kept = shapes.plainSentence();
    const std::optional<QString> looked = copyAndAwaitDecision(kept.text);
    ASSERT_TRUE(looked && looked->startsWith(u"[触发]"_s)) << text(agent.lines());
    ASSERT_TRUE(agent.waitForLine(startingWith(u"[结果] 翻译｜"_s))) << text(agent.lines());

    for (Copied& copied : copies) {
        runCommands(copied);
        copyToAgent(copied);
    }
    // Done with the last copy, and given nothing else to do that would replace what it left
    // behind: what a person copying a key and walking away leaves.
    ASSERT_TRUE(agent.waitUntilIdle()) << text(agent.lines());

    QList<Copied*> secrets;
    QList<Copied*> all;
    for (Copied& copied : copies) {
        all << &copied;
        if (copied.row->secret)
            secrets << &copied;
    }

    // The agent's memory, while it runs.
    QTemporaryDir dumpFolder;
    auto taken = CoreDump::take(agent.pid(), dumpFolder.path());
    ASSERT_TRUE(std::holds_alternative<std::unique_ptr<CoreDump>>(taken))
        << std::get<QString>(taken).toStdString();
    const CoreDump& dump = *std::get<std::unique_ptr<CoreDump>>(taken);
    EXPECT_TRUE(FragmentSearch(kept.bodies).occursIn(dump.bytes()))
        << "the dump lacks the text the agent last looked up, so it proves nothing";
    noteTraces(secrets, dump.bytes(), [&dump](qsizetype offset) {
        return u"in the agent's memory at "_s + dump.placeOf(offset);
    });

    // What reached the model server: nothing refused, code included.
    for (const FakeModelServer::Request& request : server.requests) {
        const QByteArray seen = request.method + ' ' + request.path + '\n' + request.body;
        noteTraces(all, seen, [&request](qsizetype) {
            return u"at the model server (%1)"_s.arg(QString::fromUtf8(request.path));
        });
    }

    // What the agent and the commands said, and what they left on disk once the agent has
    // written out its logs.
    agent.stop();
    noteTraces(secrets, agent.lines().join(u'\n').toUtf8(),
               [](qsizetype) { return u"on the agent's standard output"_s; });
    noteTraces(secrets, commandOutput.toUtf8(),
               [](qsizetype) { return u"in the output of `quillet check` or `lookup`"_s; });
    const QuilletProcess::Run log =
        QuilletProcess::run({u"log"_s, u"--lines"_s, u"100000"_s}, commands);
    EXPECT_EQ(log.exitCode, 0) << log.err.toStdString();
    noteTraces(secrets, (log.out + log.err).toUtf8(),
               [](qsizetype) { return u"in `quillet log`"_s; });
    for (QDirIterator files(agent.home(), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
         files.hasNext();) {
        QFile file(files.next());
        if (!file.open(QIODevice::ReadOnly))
            continue;
        noteTraces(secrets, file.readAll(),
                   [&file](qsizetype) { return u"in the file %1"_s.arg(file.fileName()); });
    }

    for (Copied& copied : copies) {
        copied.problems.removeDuplicates();
        if (!copied.problems.isEmpty())
            ADD_FAILURE() << copied.row->name
                          << (copied.row->refusedBy == kToken
                                  ? " (refused by the rules for single tokens)"
                                  : " (refused by the rules for longer text)")
                          << ":\n  " << copied.problems.join(u"\n  "_s).toStdString()
                          << "\n  copied: " << copied.shape.text.toStdString();
    }
}

// Started without `quillet` in front, the agent starts itself again once with the allocator's
// scrubbing, keeping the user's own tunables; a scrubbing lost on the way is not chased in a
// loop. What the process started with is in /proc.
TEST(AgentStartTest, StartedDirectlyTheAgentRestartsOnceWithTheScrubbingAllocator) {
    const QList<QByteArray> ours = {"glibc.malloc.perturb=165", "glibc.malloc.tcache_count=0"};
    const struct {
        const char* name;
        QStringList environment;
        QList<QByteArray> startsWith; // the tunables the process started with
    } cases[] = {
        {"nothing set", {}, ours},
        {"tunables of the user's own",
         {u"GLIBC_TUNABLES=glibc.malloc.arena_max=2"_s},
         QList<QByteArray>{"glibc.malloc.arena_max=2"} + ours},
        {"a restart that lost them", {u"QUILLET_USER_GLIBC_TUNABLES="_s}, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        AgentProcess agent;
        ASSERT_TRUE(agent.start({.fakeClock = false,
                                 .extraEnvironment = c.environment,
                                 .program = u"quillet-agent"_s}));
        ASSERT_TRUE(agent.waitForLine(exactly(u"[触发] Quillet 已启动"_s), 10'000))
            << text(agent.lines());
        const QByteArray started = '\0' + agent.startEnvironment();
        EXPECT_EQ(started.contains(QByteArray("\0GLIBC_TUNABLES=", 16)), !c.startsWith.isEmpty());
        for (const QByteArray& tunable : ours + c.startsWith) {
            EXPECT_EQ(started.contains(tunable), c.startsWith.contains(tunable))
                << tunable.toStdString();
        }
    }
}
