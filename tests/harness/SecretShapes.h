#pragma once

#include <QString>
#include <QStringList>
#include <random>

// Texts a person copies that must never be looked up, in the forms they are copied in:
// secrets (keys, tokens, passwords, a card number) and code. Each is built around random
// bodies made afresh for every seed, so a body found anywhere can only have come from the
// copy, never from some program's own data.
class SecretShapes {
public:
    struct Shape {
        QString text;       // what is copied
        QStringList bodies; // its random parts, each long enough to be told from chance
    };

    explicit SecretShapes(quint64 seed) : m_random(seed) {}

    // Secrets.
    Shape openSshPrivateKey();
    Shape longRsaPrivateKey(); // longer than the longest text the agent looks up
    Shape pgpPrivateKey();
    Shape awsKeyPairEnvFile();
    Shape awsSecretExport();
    Shape dotEnvWithKeyAndPassword();
    Shape bearerJwt();
    Shape passwordLine();
    Shape tokenInASentence();
    Shape urlWithPassword();
    Shape cardNumber();
    Shape githubToken();
    Shape awsAccessKeyId();
    // 24 characters of both cases and digits, with a lower-case letter after a digit
    // somewhere, as in most generated keys.
    Shape mixedCaseToken();

    // Code, with names made of words: a random name would be refused as a key.
    Shape cForLoop();
    Shape cppDeclaration();
    Shape pythonFunction();
    Shape sqlQuery();
    Shape gitCommit();

    // An English sentence that any filter lets through, built around a phrase drawn at
    // random from a million: the phrase is the body.
    Shape plainSentence();

private:
    QString from(QStringView alphabet, int count);
    QString base64Lines(int lines, int width, QStringList& bodies);
    // Made of common words, as programmers name things: "copperLanternMeadow", or joined
    // by `separator` ("copper_lantern_meadow").
    QString name(QChar separator = {});
    QString pick(const QStringList& words);

    static constexpr QStringView kUpperAndDigits = u"ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
    static constexpr QStringView kAlphanumeric =
        u"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
    static constexpr QStringView kBase64 =
        u"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    static constexpr QStringView kBase64Url =
        u"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
    static constexpr QStringView kDigits = u"0123456789";

    std::mt19937_64 m_random;
};
