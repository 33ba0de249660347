// Text files, and texts.
#include "support/files.h"

#include "support/log.h"
#include "support/shell_word.h"
#include "support/text_encoding.h"
#include "support/visible_text.h"

#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QProcessEnvironment>
#include <QRandomGenerator>

#include <cstdio>

namespace qv
{
namespace
{

constexpr qint64 textMaxBytes = qint64{64} << 20;
constexpr char byteOrderMark[] = "\xef\xbb\xbf";

struct FileBytes {
    std::optional<QByteArray> bytes;
    QString error;
};

FileBytes readBounded(const QString &path)
{
    QFile file(path);
    if (!QFileInfo(path).isFile()) { // reading a pipe might never end
        return {std::nullopt, QStringLiteral("not a file")};
    }
    if (!file.open(QIODevice::ReadOnly)) {
        return {std::nullopt, file.errorString()};
    }
    const QByteArray bytes = file.read(textMaxBytes + 1);
    if (bytes.size() > textMaxBytes) {
        return {std::nullopt, QStringLiteral("too large")};
    }
    return {bytes, QString()};
}

bool createWithMark(const QString &path, ByteOrderMark mark)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        std::fputs("Impossible to create destination file !\n", stderr);
        return false;
    }
    file.close();
    if (mark == ByteOrderMark::OnCreation) {
        fixBOM(path);
    }
    return true;
}

// --- the last resort of readTextFile -------------------------------------------------------------

bool copyThroughShell(const QString &path, const QString &copy)
{
    constexpr int timeoutMs = 30000;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("LC_CTYPE"), QStringLiteral("en_US.UTF-8"));
    QProcess shell;
    shell.setProcessEnvironment(environment);
    shell.setStandardInputFile(QProcess::nullDevice());
    shell.start(QStringLiteral("/bin/sh"),
                {QStringLiteral("-c"),
                 QStringLiteral("/bin/cat %1 > %2").arg(shellWord(path), shellWord(copy))});
    const bool ended = shell.waitForFinished(timeoutMs);
    return ended && shell.exitStatus() == QProcess::NormalExit && shell.exitCode() == 0;
}

// Bytes above 127 mean nothing here and read as replacement characters.
QString asciiText(const QByteArray &bytes)
{
    QString text = QString::fromLatin1(bytes);
    for (QChar &c : text) {
        c = c.unicode() < 0x80 ? c : QChar(QChar::ReplacementCharacter);
    }
    return text;
}

// The copy stays beside the file: the move back asks for "-y", which never replaces. A file of that
// name that is there already is somebody's, and is left alone.
QString textThroughCopy(const QString &path, const QByteArray &bytes)
{
    const QString copy = path + QStringLiteral(".txt");
    if (QFileInfo::exists(copy) || !copyThroughShell(path, copy)) {
        return asciiText(bytes);
    }
    const QString text = asciiText(readBounded(copy).bytes.value_or(bytes));
    moveFile(copy, path, QStringLiteral("-y"));
    return text;
}

// --- findAndReplace ------------------------------------------------------------------------------

// Some replacements make more to replace each time, so both the rounds and the size are bounded.
QString replacedUntilGone(QString text, const QString &search, const QString &replacement)
{
    constexpr int maxRounds = 1000;
    constexpr qsizetype maxSize = qsizetype{16} << 20;
    for (int round = 0; round < maxRounds && text.contains(search); ++round) {
        if (text.size() > maxSize) {
            break;
        }
        text.replace(search, replacement);
    }
    return text;
}

QString freshToken(const QString &text, const QString &search)
{
    const QString token = QStringLiteral("ZyW");
    const bool serves = !token.contains(search) && !text.contains(token);
    return serves ? token : QString::number(QRandomGenerator::global()->generate64());
}

} // namespace

bool ecritureFichier(const QString &path, const QString &text)
{
    if (path.isEmpty() || text.isNull()) {
        return false;
    }
    QString unixText = text;
    unixText.replace(QLatin1String("\r\n"), QLatin1String("\n"));
    unixText.replace(QLatin1Char('\r'), QLatin1Char('\n'));
    const QByteArray bytes = unixText.toUtf8();
    QFile file(expandTilde(path));
    const bool written = file.open(QIODevice::WriteOnly | QIODevice::Truncate) &&
                         file.write(bytes) == bytes.size() && file.flush();
    if (!written) {
        logLines(QStringLiteral("Error writing file at %1\n%2")
                     .arg(visibleText(file.fileName()), file.errorString()));
    }
    return written;
}

bool appendToFile(const QString &path, const QString &text, ByteOrderMark mark)
{
    const QString expanded = expandTilde(path);
    if (expanded.isEmpty() || text.isEmpty()) {
        return false;
    }
    if (!fileExists(expanded) && !createWithMark(expanded, mark)) {
        return false;
    }
    QFile file(expanded);
    const QByteArray bytes = text.toUtf8();
    return file.open(QIODevice::Append) && file.write(bytes) == bytes.size() && file.flush();
}

bool fixBOM(const QString &path)
{
    const QString expanded = expandTilde(path);
    QFile file(expanded);
    if (expanded.isEmpty() || !file.open(QIODevice::ReadWrite | QIODevice::ExistingOnly) ||
        file.write(byteOrderMark) < 0) {
        return false;
    }
    logDebug([&] { return QStringLiteral("Fixed BOM           :-) %1").arg(expanded); });
    return file.flush();
}

QString encodingCharsetIdentifier(const QString &path)
{
    const FileBytes content = readBounded(expandTilde(path));
    if (!content.bytes) {
        logLine(QStringLiteral("encodingCharsetIdenti:-( %1").arg(content.error));
        return QStringLiteral("CP1252");
    }
    return guessEncoding(*content.bytes).toolName;
}

QString readTextFile(const QString &path)
{
    const QString expanded = expandTilde(path);
    const FileBytes content = readBounded(expanded);
    if (!content.bytes) {
        return {};
    }
    const QByteArray guess = guessEncoding(*content.bytes).iconvName;
    const auto text = decodeText(*content.bytes, guess.isEmpty() ? QByteArray("ASCII") : guess);
    return text ? *text : textThroughCopy(expanded, *content.bytes);
}

QString findAndReplace(const QString &text, const QString &search, const QString &replacement,
                       bool recursive)
{
    if (search.isEmpty() || !text.contains(search)) {
        return text;
    }
    QString once = text;
    once.replace(search, replacement);
    if (!recursive) {
        return once;
    }
    if (!replacement.contains(search)) {
        return replacedUntilGone(once, search, replacement);
    }
    const QString token = freshToken(text, search);
    if (token.contains(search)) {
        logLine(QStringLiteral("findAndReplace      : oops, isRecursive != safe (returnStr:'%1')")
                    .arg(once));
        return once;
    }
    return replacedUntilGone(text, search, token).replace(token, replacement);
}

QStringList linesOf(const QString &text)
{
    QString unixText = text;
    unixText.replace(QLatin1Char('\r'), QLatin1Char('\n'));
    return unixText.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

} // namespace qv
