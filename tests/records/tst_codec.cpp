// Strict decoding and the encoding of request bodies, as the table tests/data/codec_cases.txt
// lists them: which documents decode and to what, and the exact message of those that do not.

#include "codectest.h"

#include "vantora/records/recordcatalog_p.h"

#include <QHash>
#include <QJsonObject>

#include <gtest/gtest.h>

using namespace Vantora;
using namespace Vantora::TestSupport;
using namespace Qt::Literals::StringLiterals;

namespace {

using Reencode = Result<QByteArray, Json::DecodeError> (*)(QByteArrayView);

// A cell of the table, or the fixture it names with "@".
QByteArray resolve(const QByteArray &cell)
{
    return cell.startsWith('@') ? loadFixture(QString::fromUtf8(cell.mid(1))) : cell;
}

} // namespace

TEST(Codec, everyCaseOfTheTableDecodesOrFailsAsItSays)
{
    QHash<QByteArray, Reencode> kinds{{"Clock", &reencode<Clock>},
                                      {"Injection", &reencode<Injection>},
                                      {"Poll", &reencode<Poll>},
                                      {"Rating", &reencode<Rating>},
                                      {"Offer", &reencode<Offer>},
                                      {"PredictionResult", &reencode<PredictionResult>},
                                      {"UserLevel", &reencode<UserLevel>},
                                      {"AnalyticsEvent", &reencode<AnalyticsEvent>},
                                      {"RelaxedString", &reencode<RelaxedString>}};
    for (const Json::DocumentKind &kind : Json::documentKinds())
        kinds.insert(QByteArray(kind.name.data(), kind.name.size()), kind.reencode);

    const QList<QStringList> rows = caseTable(u"codec_cases.txt", u"");
    for (const QStringList &row : rows) {
        SCOPED_TRACE(row.join(u" | ").toStdString());
        ASSERT_TRUE(row.size() >= 3 && kinds.contains(row[0].toUtf8()));
        const QByteArray expected = row[1].toUtf8();
        const auto result = kinds.value(row[0].toUtf8())(resolve(row.mid(2).join(u" | ").toUtf8()));
        const QByteArray actual = result ? result.value() : result.error().message().toUtf8();
        EXPECT_EQ(bool(result), expected == "ok" || expected.startsWith('='))
            << actual.toStdString();
        if (expected.startsWith("== ")) {
            EXPECT_EQ(actual.toStdString(), expected.mid(3).toStdString());
        } else if (expected.startsWith("= ")) {
            EXPECT_EQ(parsedJson(actual), parsedJson(resolve(expected.mid(2))));
        } else if (expected.endsWith("...")) {
            EXPECT_TRUE(actual.startsWith(expected.chopped(3))) << actual.toStdString();
        } else if (expected != "ok") {
            EXPECT_EQ(actual.toStdString(), expected.toStdString());
        }
    }
    EXPECT_GT(rows.size(), 100);

    // What the table cannot hold: no bytes at all, and bytes that are not UTF-8.
    for (const QByteArrayView json :
         {QByteArrayView(), QByteArrayView(""), QByteArrayView("{\"status\":\"\xff\"}")}) {
        const auto result = reencode<AnalyticsResponse>(json);
        EXPECT_TRUE(!result && result.error().message().startsWith(u"invalid JSON ("_s));
    }
}

TEST(Codec, manyShortTextsEachKeepTheirOwnValue)
{
    // More distinct texts than the decoder caches, many of the same length: none may take
    // another's value.
    QJsonObject polls;
    for (int i = 0; i < 2000; ++i)
        polls.insert(u"p%1"_s.arg(i), u"answer %1"_s.arg(i * 7919 % 2000));
    const QByteArray user = QJsonDocument(QJsonObject{{u"name"_s, u"D"_s},
                                                      {u"email"_s, u"e"_s},
                                                      {u"token"_s, u"t"_s},
                                                      {u"status"_s, 1},
                                                      {u"level"_s, 1},
                                                      {u"polls"_s, polls}})
                                .toJson();
    const auto result = reencode<User>(user);
    ASSERT_TRUE(result);
    EXPECT_EQ(parsedJson(result.value()), parsedJson(user));
}
