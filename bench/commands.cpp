#include "commands.h"

#include "measuring.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>

#include <algorithm>
#include <cstdio>

namespace bench
{
namespace
{

const QStringList fifteen{QStringLiteral("-n"), QStringLiteral("15")};

QStringList textsOf(const QJsonArray &array)
{
    QStringList texts;
    for (const QJsonValue &value : array) {
        texts.append(value.toString());
    }
    return texts;
}

QString quoted(QString word)
{
    return QLatin1Char('\'') + word.replace(QLatin1Char('\''), QStringLiteral("'\\''")) +
           QLatin1Char('\'');
}

QString shellLine(const QStringList &command)
{
    QStringList words;
    for (const QString &word : command) {
        words.append(quoted(word));
    }
    return words.join(QLatin1Char(' '));
}

// The script's path.
QString writeScript(const QString &path, const QList<QStringList> &commands)
{
    QFile script(path);
    if (script.open(QIODevice::WriteOnly)) {
        for (const QStringList &command : commands) {
            script.write((shellLine(command) + QStringLiteral(" || exit 1\n")).toUtf8());
        }
    }
    return path;
}

QString loopScript(const Plan &plan, const QString &folder, const QString &name)
{
    QList<QStringList> commands = plan.commands;
    for (qsizetype i = 0; i < commands.size(); ++i) {
        commands[i].last() = QStringLiteral("%1/%2-%3.jpg").arg(folder, name).arg(i);
    }
    return writeScript(QStringLiteral("%1/%2.sh").arg(folder, name), commands);
}

} // namespace

Plan planOf(const QString &source)
{
    QProcess process;
    process.start(builtCommand(), QStringList{QStringLiteral("plan"), QStringLiteral("--json")} +
                                      fifteen + QStringList{source});
    process.waitForFinished(-1);
    const QJsonObject object = QJsonDocument::fromJson(process.readAllStandardOutput()).object();
    Plan plan;
    plan.source = source;
    plan.width = object.value(QStringLiteral("wTh")).toInt();
    plan.height = object.value(QStringLiteral("hTh")).toInt();
    plan.count = object.value(QStringLiteral("count")).toInt();
    plan.interval = object.value(QStringLiteral("interval")).toDouble();
    const QJsonArray pictures = object.value(QStringLiteral("pictures")).toArray();
    for (const QJsonValue &picture : pictures) {
        plan.instants.push_back(picture[QStringLiteral("time")].toDouble());
        plan.commands.append(textsOf(picture[QStringLiteral("arguments")].toArray()));
    }
    if (plan.count == 0) {
        std::printf("  FAILED: no plan for %s\n", qUtf8Printable(source));
    }
    return plan;
}

QStringList sheetCommand(const QStringList &sources, const QString &folder,
                         const QStringList &options)
{
    return QStringList{builtCommand(), QStringLiteral("sheet"), QStringLiteral("--replace")} +
           fifteen + options + QStringList{QStringLiteral("-o"), folder} + sources;
}

QStringList infoCommand(const QString &source, const QStringList &options)
{
    return QStringList{builtCommand(), QStringLiteral("info")} + options + QStringList{source};
}

QStringList planLoop(const Plan &plan, const QString &folder, const QString &name)
{
    return {QStringLiteral("/bin/sh"), loopScript(plan, folder, name)};
}

QStringList planLoops(const std::vector<Plan> &plans, const QString &folder, int atOnce)
{
    const QString list = folder + QStringLiteral("/loops");
    QFile file(list);
    if (file.open(QIODevice::WriteOnly)) {
        for (std::size_t i = 0; i < plans.size(); ++i) {
            file.write(loopScript(plans[i], folder, QStringLiteral("loop%1").arg(i)).toUtf8() +
                       '\n');
        }
    }
    return {QStringLiteral("/usr/bin/xargs"), QStringLiteral("-a"),     list,
            QStringLiteral("-d\\n"),          QStringLiteral("-n1"),    QStringLiteral("-P"),
            QString::number(atOnce),          QStringLiteral("/bin/sh")};
}

QStringList seekLoop(const Plan &plan, const QString &folder)
{
    QList<QStringList> commands;
    for (const double instant : plan.instants) {
        commands.append({builtTool(QStringLiteral("ffmpeg")), QStringLiteral("-y"),
                         QStringLiteral("-ss"), QString::number(instant, 'f', 3),
                         QStringLiteral("-i"), plan.source, QStringLiteral("-frames:v"),
                         QStringLiteral("1"), QStringLiteral("-vf"), QStringLiteral("scale=320:-2"),
                         QStringLiteral("%1/seek%2.jpg").arg(folder).arg(commands.size())});
    }
    return {QStringLiteral("/bin/sh"), writeScript(folder + QStringLiteral("/seek.sh"), commands)};
}

QStringList tileCommand(const Plan &plan, Decodes what, const QString &picture)
{
    const QString filters =
        QStringLiteral("fps=1/%1,scale=320:-2,tile=3x%2")
            .arg(QString::number(plan.interval), QString::number(plan.count / 3));
    const QStringList keysOnly{QStringLiteral("-skip_frame"), QStringLiteral("nokey")};
    return QStringList{builtTool(QStringLiteral("ffmpeg")), QStringLiteral("-y")} +
           (what == Decodes::KeyPictures ? keysOnly : QStringList()) +
           QStringList{QStringLiteral("-i"),
                       plan.source,
                       QStringLiteral("-vf"),
                       filters,
                       QStringLiteral("-frames:v"),
                       QStringLiteral("1"),
                       picture};
}

QStringList firstPicture(const QString &source, const QString &picture)
{
    return {builtTool(QStringLiteral("ffmpeg")),
            QStringLiteral("-y"),
            QStringLiteral("-i"),
            source,
            QStringLiteral("-frames:v"),
            QStringLiteral("1"),
            picture};
}

int usefulHeight(const Plan &plan)
{
    return plan.height * usefulWidth / std::max(1, plan.width);
}

QStringList libraryLoop(const Plan &plan)
{
    return {QStringLiteral(QV_QUICK_LOOP), plan.source, QString::number(usefulWidth),
            QString::number(usefulHeight(plan)), QString::number(plan.count)};
}

} // namespace bench
