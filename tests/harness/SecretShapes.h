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
    // The same without: every digit stands before an upper-case letter or at the end, so that
    // it reads like camel-case words ("AbcDef9Ghi"); about one generated key in six.
    Shape camelCaseShapedToken();

    // Code.
    Shape cForLoop();
    Shape cppDeclaration();
    Shape pythonFunction();
    Shape sqlQuery();
    Shape gitCommit();

    // A made-up word of 12 lower-case letters.
    QString word() { return from(kLower, 12); }

private:
    QString from(QStringView alphabet, int count);
    QString base64Lines(int lines, int width, QStringList& bodies);

    static constexpr QStringView kLower = u"abcdefghijklmnopqrstuvwxyz";
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
