// What --json prints against docs/json.md.

#include "cli/command_test.h"

#include <QJsonArray>
#include <QRegularExpression>

namespace
{

using Fields = QMap<QString, QString>; // "pictures[].time" -> "number or null"

// By command.
QMap<QString, Fields> documentedFields()
{
    static const QRegularExpression row("^\\| `([^`]+)` \\| ([^|]+) \\|");
    QMap<QString, Fields> tables;
    QString command;
    for (const QString &line : QString::fromUtf8(contentOf(QV_DOCS "/json.md")).split('\n')) {
        command = line.startsWith("## ") ? line.mid(3) : command;
        if (const auto match = row.match(line); match.hasMatch()) {
            tables[command].insert(match.captured(1), match.captured(2));
        }
    }
    return tables;
}

bool isOfType(const QJsonValue &value, const QString &type)
{
    if (type.endsWith(" or null")) {
        return value.isNull() || isOfType(value, type.chopped(8));
    }
    if (type.startsWith("list of ")) {
        const QJsonArray list = value.toArray();
        return value.isArray() && std::all_of(list.begin(), list.end(), [&](const auto &element) {
                   return isOfType(element, type.mid(8).chopped(1));
               });
    }
    const bool isWhole = value.isDouble() && value.toDouble() == std::floor(value.toDouble());
    return (type == "text" && value.isString()) || (type == "object" && value.isObject()) ||
           (type == "true or false" && value.isBool()) || (type == "number" && value.isDouble()) ||
           (type == "whole number" && isWhole);
}

// The names and types of all fields, those of "record" but for itself, and which have values.
void collectFields(const QJsonObject &object, const Fields &types, const QString &prefix,
                   QSet<QString> &all, QSet<QString> &seen)
{
    for (auto it = object.begin(); it != object.end(); ++it) {
        const QString name = prefix + it.key();
        EXPECT_TRUE(isOfType(it.value(), types.value(name))) << name.toStdString();
        all.insert(name);
        if (!it.value().isNull()) {
            seen.insert(name);
        }
        if (name != "record") {
            collectFields(it.value().toObject(), types, name + '.', all, seen);
            collectFields(it.value().toArray().first().toObject(), types, name + "[].", all, seen);
        }
    }
}

} // namespace

TEST_F(CommandTest, JsonHasTheFieldsOfTheDocumentWhateverBecameOfTheSource)
{
    const QByteArray good = make("good \xff.mp4");
    const QByteArrayList sources{good,
                                 good,
                                 make("all-refuse.mp4"),
                                 path("missing.mp4"),
                                 "",
                                 make("picture-missing.mp4"),
                                 make("analysis-damaged.mp4")};
    const Ran sheets = this->sheets(sources);
    const Ran info = run(QByteArrayList{"info", "--json"} + sources);
    const Ran plan = run(QByteArrayList{"plan", "--json"} + sources);
    const QByteArray sheet = sheets.told("sheet").value(0).toUtf8();
    this->sheets({"--no-paths", make("secret folder/a.mp4")});
    EXPECT_FALSE(contentOf(path("out/a.jpg")).contains("secret"));
    const Ran told = run({"read", "--json", "--quiet", sheet, good, path("out/a.jpg")});
    EXPECT_EQ(sheets.told("status"), words("made kept skipped skipped skipped failed made"));
    EXPECT_EQ(info.told("status"), words("ok ok skipped skipped skipped ok ok"));
    EXPECT_EQ(plan.told("status"), info.told("status"));
    EXPECT_EQ(told.told("status"), words("ok skipped ok"));
    const QMap<QString, Fields> documented = documentedFields();
    const std::pair<const char *, const Ran &> commands[] = {
        {"sheet", sheets}, {"info", info}, {"plan", plan}, {"read", told}};
    for (const auto &[command, ran] : commands) {
        SCOPED_TRACE(command);
        EXPECT_EQ(ran.status, 1);
        const Fields types = documented.value(command);
        const QStringList names = types.keys();
        const QSet<QString> expected(names.begin(), names.end());
        QSet<QString> seen;
        for (const QJsonObject &object : ran.objects()) {
            QSet<QString> all;
            collectFields(object, types, "", all, seen);
            EXPECT_EQ(object.value("schema"), 1);
            EXPECT_TRUE(expected.contains(all));
            for (const QString &name : expected - all) {
                // What it would be in has no value.
                const QJsonValue parent =
                    object.value(name.section(QRegularExpression("[.[]"), 0, 0));
                EXPECT_TRUE(parent.isNull() || parent == QJsonArray()) << name.toStdString();
            }
        }
        EXPECT_EQ(seen, expected);
    }
    EXPECT_EQ(sheets.told("source_base64").value(0).toUtf8(), good.toBase64());
    EXPECT_EQ(sheets.told("sheet_base64").value(0).toUtf8(), sheet.toBase64());
    EXPECT_EQ(info.told("source_base64"), plan.told("source_base64"));
    const QJsonObject source = told.objects().value(0)["source"].toObject();
    EXPECT_EQ(source["path_base64"].toString().toUtf8(), good.toBase64());
    EXPECT_EQ(sheets.told("reason").value(1), "the same file as " + QString::fromUtf8(good));
}
