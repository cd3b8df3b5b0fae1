#include "LineReader.h"

#include "LocaleCodec.h"

#include <QRandomGenerator>
#include <QTemporaryFile>
#include <QTextStream>
#include <QtTest>

using ostravel::LineReader;

/** Compares the reader with QTextStream, which defines the expected lines. */
class TestLineReader : public QObject
{
    Q_OBJECT

private slots:
    void givesTheLinesOfATextStream_data();
    void givesTheLinesOfATextStream();
    void givesTheLinesOfATextStreamForRandomBytes_data();
    void givesTheLinesOfATextStreamForRandomBytes();
    void readsALineThatSpansManyBlocks();
    void reusesTheMemoryOfTheLine();
    void plainLineIsNotCopied();

private:
    static QStringList streamLines(const QByteArray &bytes);
    static QStringList readerLines(const QByteArray &bytes);
    static QStringList plainLines(const QByteArray &bytes);
};

namespace
{

/** A temporary file with the given bytes, open in text mode. */
class TextFile
{
public:
    explicit TextFile(const QByteArray &bytes)
    {
        m_temporary.open();
        m_temporary.write(bytes);
        m_temporary.close();
        m_file.setFileName(m_temporary.fileName());
        m_file.open(QIODevice::ReadOnly | QIODevice::Text);
    }

    QFile &file() { return m_file; }

private:
    QTemporaryFile m_temporary;
    QFile m_file;
};

constexpr int kBlock = 1 << 16; // block size of the reader; tests put line breaks at block boundaries

} // namespace

QStringList TestLineReader::streamLines(const QByteArray &bytes)
{
    TextFile text(bytes);
    QTextStream stream(&text.file());
    QStringList lines;
    while (!stream.atEnd())
        lines << stream.readLine();
    return lines;
}

QStringList TestLineReader::readerLines(const QByteArray &bytes)
{
    TextFile text(bytes);
    LineReader reader(text.file());
    QStringList lines;
    QString line;
    while (reader.next(line)) {
        lines << line;
        line.detach(); // the reader reuses the line's memory
    }
    return lines;
}

/** Like readerLines(), but uses nextPlain() for lines that need no copy. */
QStringList TestLineReader::plainLines(const QByteArray &bytes)
{
    TextFile text(bytes);
    LineReader reader(text.file());
    QStringList lines;
    QString line;
    QLatin1String plain;
    while (true) {
        if (reader.nextPlain(plain))
            lines << plain;
        else if (reader.next(line))
            lines << line;
        else
            return lines;
        line.detach();
    }
}

void TestLineReader::givesTheLinesOfATextStream_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<int>("count");
    const QByteArray chinese = QStringLiteral("飞行").toUtf8();
    const QByteArray filled = QByteArray(kBlock - 3, 'A') + '\n';

    QTest::newRow("empty file") << QByteArray() << 0;
    QTest::newRow("no line end") << QByteArray("AAEC") << 1;
    QTest::newRow("line end at the end") << QByteArray("AAEC\n") << 1;
    QTest::newRow("blank lines") << QByteArray("\n\n\n") << 3;
    QTest::newRow("carriage returns") << QByteArray("AA\r\nBB\r\n") << 2;
    QTest::newRow("a carriage return alone is no line break") << QByteArray("AA\rBB\rCC") << 1;
    QTest::newRow("only a carriage return") << QByteArray("\r") << 1;
    QTest::newRow("a carriage return after the last line") << QByteArray("AA\n\r") << 1;
    QTest::newRow("text of another kind") << chinese + '\n' + chinese << 2;
    QTest::newRow("byte order mark of UTF-8") << QByteArray("\xEF\xBB\xBF"
                                                            "AA\nBB\n")
                                              << 2;
    QTest::newRow("UTF-16, little endian") << QByteArray("\xFF\xFE"
                                                         "A\0A\0\n\0B\0B\0\n\0",
                                                         14)
                                           << 2;
    QTest::newRow("UTF-16, big endian") << QByteArray("\xFE\xFF"
                                                      "\0A\0A\0\n\0B\0B",
                                                      12)
                                        << 2;
    QTest::newRow("NUL in a line") << QByteArray("A\0B\nCC", 6) << 2;
    QTest::newRow("line break at a block boundary") << filled + "BB\nCC\n" << 3;
    QTest::newRow("other text after the first block") << filled + "BBB" + chinese + "\nCC\n" << 3;
    QTest::newRow("other text in a line across a block boundary")
        << QByteArray("AA\n") + QByteArray(kBlock, 'B') + chinese + '\n' + chinese << 3;
    QTest::newRow("a mark in the middle is text") << filled
            + "AA\n\xEF\xBB\xBF"
              "BB\n" << 3;
    QTest::newRow("bytes that are no text in any codec") << QByteArray("\x80\x81\xFE\n\xC3\n") << 2;
}

void TestLineReader::givesTheLinesOfATextStream()
{
    QFETCH(QByteArray, bytes);
    const QStringList lines = readerLines(bytes);
    if (localeIsUtf8())
        QTEST(lines.size(), "count");
    QCOMPARE(lines, streamLines(bytes));
    QCOMPARE(plainLines(bytes), lines);
}

void TestLineReader::givesTheLinesOfATextStreamForRandomBytes_data()
{
    QTest::addColumn<QByteArray>("alphabet");
    QTest::newRow("a log") << QByteArray("0123456789ABCDEF\n");
    QTest::newRow("line ends of all kinds") << QByteArray("AB\n\r");
    QTest::newRow("Latin-1 letters among them") << QByteArray("AAAAAAAAAAAAAAAAAAAABBBBBBBBBBBBBBBBBB\n\r\xE9\xC3\xA9");
}

void TestLineReader::givesTheLinesOfATextStreamForRandomBytes()
{
    QFETCH(QByteArray, alphabet);
    QRandomGenerator random(20261120);
    for (int run = 0; run < 200; ++run) {
        // Sizes around the block sizes of the reader (64 KiB) and QTextStream (16 KiB), and small sizes.
        const int size = random.bounded(run % 4 == 0 ? 3 * kBlock : 40);
        QByteArray bytes(size, Qt::Uninitialized);
        for (char &byte : bytes)
            byte = alphabet.at(random.bounded(alphabet.size()));
        bytes += 'A'; // QTextStream's result for trailing carriage returns depends on its block size
        QCOMPARE(readerLines(bytes), streamLines(bytes));
        QCOMPARE(plainLines(bytes), streamLines(bytes));
    }
}

void TestLineReader::readsALineThatSpansManyBlocks()
{
    const QByteArray longLine = QByteArray("AAEC").repeated(kBlock);
    const QStringList lines = readerLines(longLine + "\nBB");
    QCOMPARE(lines.size(), 2);
    QCOMPARE(lines.at(0), QString::fromLatin1(longLine));
    QCOMPARE(lines.at(1), QStringLiteral("BB"));
    QCOMPARE(plainLines(longLine + "\nBB"), lines);
}

void TestLineReader::reusesTheMemoryOfTheLine()
{
    TextFile text("AAECAAEC\nBBBB\nCC\n");
    LineReader reader(text.file());
    QString line;
    QVERIFY(reader.next(line));
    const QChar *const memory = line.constData();
    QVERIFY(reader.next(line));
    QCOMPARE(line, QStringLiteral("BBBB"));
    QCOMPARE(line.constData(), memory);
}

void TestLineReader::plainLineIsNotCopied()
{
    TextFile text("AA\nBB\r\nC\rC\nDD\nEE");
    LineReader reader(text.file());
    QString line;
    QLatin1String plain;
    QVERIFY2(!reader.nextPlain(plain), "nothing was read yet");
    QVERIFY(reader.next(line));
    QVERIFY(reader.nextPlain(plain));
    QCOMPARE(plain, QLatin1String("BB"));
    const char *const place = plain.data();
    QVERIFY2(!reader.nextPlain(plain), "a carriage return inside");
    QVERIFY(reader.next(line));
    QCOMPARE(line, QStringLiteral("CC"));
    QVERIFY(reader.nextPlain(plain));
    QCOMPARE(plain, QLatin1String("DD"));
    QCOMPARE(plain.data() - place, std::ptrdiff_t(qstrlen("BB\r\nC\rC\n")));
    QVERIFY2(!reader.nextPlain(plain), "no line end");
    QVERIFY(reader.next(line));
    QCOMPARE(line, QStringLiteral("EE"));
    QVERIFY(!reader.nextPlain(plain) && !reader.next(line));
}

QTEST_GUILESS_MAIN(TestLineReader)
#include "TestLineReader.moc"
