#include "ChannelNames.h"

#include <QFile>
#include <QRegularExpression>
#include <QTest>

using namespace ostravel::frame;

class TestChannelNames : public QObject
{
    Q_OBJECT

private slots:
    void thereAre143Channels();
    void channelIsFoundByNameAndLabel();
    void unknownChannelIsNotFound();
    void groupIsFoundByNameAndCode_data();
    void groupIsFoundByNameAndCode();
    void unknownGroupIsNotFound();
    void nearNamesAreOffered();
    void unitsAreThoseOfTheManual();
};

void TestChannelNames::thereAre143Channels()
{
    const QVector<ChannelId> channels = allChannels();
    QCOMPARE(channels.size(), 143);
    QVERIFY(channels.first() == (ChannelId{kHeartBeat, 0}));
    QVERIFY(channels.last() == (ChannelId{kEquipment, 15}));
}

void TestChannelNames::channelIsFoundByNameAndLabel()
{
    for (const ChannelId &channel : allChannels()) {
        QVERIFY(findChannel(rowOfChannel(channel).name) == channel);
        QVERIFY(findChannel(labelOf(channel)) == channel);
    }
    QCOMPARE(labelOf({kAttitude, 0}), QString("横滚"));
}

void TestChannelNames::unknownChannelIsNotFound()
{
    for (const char *const name : {"", "pgs_roll", "PGS_Roll ", "横", "@attitude"})
        QVERIFY(!findChannel(name));
}

void TestChannelNames::groupIsFoundByNameAndCode_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("code");
    const QMap<int, QString> names{{0x01, "heartbeat"},  {0x02, "control"}, {0x03, "attitude"},
                                   {0x04, "sensor"},     {0x05, "target"},  {0x41, "payload"},
                                   {0x51, "difference"}, {0x52, "backup"},  {0x53, "equipment"}};
    for (auto name = names.begin(); name != names.end(); ++name) {
        QTest::newRow(qPrintable(name.value())) << name.value() << name.key();
        const QString code = QString("0x%1").arg(name.key(), 2, 16, QChar('0'));
        QTest::newRow(qPrintable(code)) << code << name.key();
    }
    QTest::newRow("capital") << "0X03" << 0x03;
}

void TestChannelNames::groupIsFoundByNameAndCode()
{
    QFETCH(QString, text);
    QFETCH(int, code);
    QCOMPARE(int(findGroup(text).value_or(0)), code);
}

void TestChannelNames::unknownGroupIsNotFound()
{
    for (const char *const text : {"", "3", "03", "0x3", "0x06", "Attitude", "roll"})
        QVERIFY2(!findGroup(text), text);
}

void TestChannelNames::nearNamesAreOffered()
{
    QCOMPARE(channelsLike("PGS_Rol").value(0), QString("PGS_Roll"));
    QCOMPARE(channelsLike("pgs_pitch").value(0), QString("PGS_Pitch"));
    QCOMPARE(channelsLike("xPGS_Pitch").value(0), QString("PGS_Pitch"));
    QCOMPARE(channelsLike("XGS_Pitch").value(0), QString("PGS_Pitch"));
    QVERIFY(channelsLike("目标横").contains("目标横滚"));
    QVERIFY(channelsLike("lng").size() <= 3 && channelsLike("lng").contains("HBS_Lng"));
    QCOMPARE(channelsLike("zzzzzzzzzzzz"), QStringList());
    QCOMPARE(channelsLike("xoll"), QStringList()); // the end of a name with an error is not near
    QCOMPARE(channelsLike(""), QStringList());
}

/** The manual's table is the second statement of the units. */
void TestChannelNames::unitsAreThoseOfTheManual()
{
    const QMap<QString, QString> words{{"—", ""},     {"°", "deg"}, {"m", "m"},     {"m/s", "m/s"},
                                       {"℃", "degC"}, {"%", "%"},   {"圈", "laps"}, {"颗", "satellites"}};
    QFile file(QStringLiteral(MANUAL_CHANNELS));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QRegularExpression row(R"(^\| \d+ \| (.+) \| `(.+)` \| (\S+) \|)", QRegularExpression::MultilineOption);
    int rows = 0;
    for (auto match = row.globalMatch(QString::fromUtf8(file.readAll())); match.hasNext(); ++rows) {
        const QRegularExpressionMatch found = match.next();
        const auto channel = findChannel(found.captured(2));
        QVERIFY2(channel && words.contains(found.captured(3)), qPrintable(found.captured()));
        QCOMPARE(labelOf(*channel), found.captured(1));
        QVERIFY2(words[found.captured(3)] == unitOf(*channel), qPrintable(found.captured()));
    }
    QCOMPARE(rows, 143);
}

QTEST_GUILESS_MAIN(TestChannelNames)
#include "TestChannelNames.moc"
