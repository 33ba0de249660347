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
    const double number = value.toDouble();
    return (type == "text" && value.isString()) || (type == "object" && value.isObject()) ||
           (type == "true or false" && value.isBool()) || (type == "number" && value.isDouble()) ||
           (type == "whole number" && value.isDouble() && number == std::floor(number));
}

// What is below `prefix`: each field is documented and of its type, and none is missing.
void expectFields(const QJsonObject &object, const Fields &fields, const QString &prefix,
                  QSet<QString> &seen)
{
    for (auto field = fields.begin(); field != fields.end(); ++field) {
        const QString rest = field.key().mid(prefix.size());
        if (field.key().startsWith(prefix) && !rest.contains('.')) {
            EXPECT_TRUE(object.contains(rest)) << field.key().toStdString();
        }
    }
    for (auto it = object.begin(); it != object.end(); ++it) {
        const QString name = prefix + it.key();
        ASSERT_TRUE(fields.contains(name)) << name.toStdString();
        EXPECT_TRUE(isOfType(it.value(), fields.value(name))) << name.toStdString();
        const QJsonArray list = it.value().toArray();
        for (const auto &element : list) {
            if (element.isObject()) {
                expectFields(element.toObject(), fields, name + "[].", seen);
            }
        }
        if (it.value().isObject() && name != "record") {
            expectFields(it.value().toObject(), fields, name + '.', seen);
        }
        if (!it.value().isNull()) {
            seen.insert(name);
        }
    }
}

} // namespace

TEST_F(CommandTest, JsonHasTheFieldsOfTheDocumentWhateverBecameOfTheSource)
{
    const QByteArray good = make("good \xff.mp4");
    const QByteArrayList sources{
        good, good, make("all-refuse.mp4"), path("missing.mp4"), "", make("picture-missing.mp4")};
    const Ran sheets = this->sheets(sources);
    const Ran info = run(QByteArrayList{"info", "--json"} + sources);
    const Ran plan = run(QByteArrayList{"plan", "--json"} + sources);
    const QByteArray sheet = sheets.told("sheet").value(0).toUtf8();
    QByteArrayList read{"read", "--json", "--quiet", sheet, good};
    ASSERT_EQ(run({"sheet", "--no-paths", "-o", path("bare"), make("a.mp4")}).status, 0);
    const Ran told = run(read << path("bare/a.jpg"));
    EXPECT_EQ(sheets.told("status"), words("made kept skipped skipped skipped failed"));
    EXPECT_EQ(info.told("status"), words("ok ok skipped skipped skipped ok"));
    EXPECT_EQ(plan.told("status"), info.told("status"));
    EXPECT_EQ(told.told("status"), words("ok skipped ok"));
    const QMap<QString, Fields> documented = documentedFields();
    const std::pair<const char *, const Ran &> commands[] = {
        {"sheet", sheets}, {"info", info}, {"plan", plan}, {"read", told}};
    for (const auto &[command, ran] : commands) {
        SCOPED_TRACE(command);
        EXPECT_EQ(ran.status, 1);
        QSet<QString> seen;
        for (const QJsonObject &object : ran.objects()) {
            expectFields(object, documented.value(command), "", seen);
            EXPECT_EQ(object.value("schema"), 1);
        }
        const QStringList fields = documented.value(command).keys();
        EXPECT_EQ(seen, QSet<QString>(fields.begin(), fields.end()));
    }
    for (const Ran *ran : {&sheets, &info, &plan}) {
        EXPECT_EQ(QByteArray::fromBase64(ran->told("source_base64").value(0).toUtf8()), good);
    }
    EXPECT_EQ(QByteArray::fromBase64(sheets.told("sheet_base64").value(0).toUtf8()), sheet);
    EXPECT_EQ(QByteArray::fromBase64(
                  told.objects().value(0)["source"].toObject()["path_base64"].toString().toUtf8()),
              good);
    EXPECT_EQ(sheets.told("reason").value(1), "the same file as " + QString::fromUtf8(good));
}
