#include "FieldTables.h"
#include "FrameTable.h"
#include "QDataPacket.h"

#include <QMap>
#include <QMetaObject>
#include <QSet>
#include <QTest>

#include <array>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <new>

// Fills new memory with nonzero bytes, also before main(), when the tables are built. So memory after a table does not
// look like the required all-zero end row.
void *operator new(std::size_t size)
{
    void *const memory = std::malloc(size > 0 ? size : 1);
    if (memory == nullptr)
        throw std::bad_alloc();
    return std::memset(memory, 0xA5, size);
}

void operator delete(void *memory) noexcept
{
    std::free(memory);
}

void operator delete(void *memory, std::size_t) noexcept
{
    std::free(memory);
}

namespace
{

struct ExpectedCode {
    int code;
    const char *name;
    int rows;
    int size;
    const char *prefix;
};

constexpr ExpectedCode kCodes[] = {
    {0x01, "0x01-HeartBeat", 5, 18, "HBS_"},
    {0x02, "0x02-ControlSystemStatus", 37, 0, "FSS_"},
    {0x03, "0x03-AttitudeAndPositionInfo", 18, 0, "PGS_"},
    {0x04, "0x04-SensorValue", 34, 0, "SS_"},
    {0x05, "0x05-FlightTargetValue", 13, 0, "FTP_"},
    {0x41, "0x41-PayloadInfo", 14, 0, "PI_"},
    {0x51, "0x51-Difference", 5, 0, "DF_"},
    {0x52, "0x52-Backup", 1, 0, "BU_"},
    {0x53, "0x53-EquipmentStatus", 16, 0, "DS_"},
};

double read(std::initializer_list<std::uint8_t> bytes, bool isSigned)
{
    return readFieldValue(bytes.begin(), isSigned, int(bytes.size()));
}

} // namespace

class TestFrameTable : public QObject
{
    Q_OBJECT

private slots:
    void everyRowMatchesTheExpectedTable_data();
    void everyRowMatchesTheExpectedTable();
    void thereAre143RowsWithDifferentLabels();
    void everyCodeHasItsDescriptor();
    void descriptorsEndWithAZeroRow();
    void everyTableEndsWithAnEmptyRow();
    void unknownCodeHasNoField_data();
    void unknownCodeHasNoField();
    void readsBigEndianIntegers();
    void readsSignedAsTwosComplement();
    void readsSixtyFourBits();
    void sameBytesDifferBySign();
    void otherWidthsReadAsZero_data();
    void otherWidthsReadAsZero();
    void nullSourceReadsAsZero();
    void readsTheWordOfTheBitFlags();
    void packetClassIsDeclaredAndEmpty();
};

void TestFrameTable::everyRowMatchesTheExpectedTable_data()
{
    QTest::addColumn<int>("position");
    const QVector<ExpectedField> fields = expectedFields();
    for (int i = 0; i < fields.size(); ++i)
        QTest::newRow(qPrintable(fields[i].name)) << i;
}

void TestFrameTable::everyRowMatchesTheExpectedTable()
{
    QFETCH(int, position);
    const ExpectedField expected = expectedFields().at(position);
    const FrameField *field = findFrameField(quint16(expected.code), expected.number - 1);
    QVERIFY(field);
    QCOMPARE(int(field->index), expected.number);
    QCOMPARE(int(field->offset), expected.byte);
    QCOMPARE(int(field->width), expected.width);
    QCOMPARE(field->divisor, expected.divisor);
    QCOMPARE(field->isSigned, expected.isSigned);
    QCOMPARE(QString::fromLatin1(field->name), expected.name);
    QCOMPARE(field->label, expected.label);
}

void TestFrameTable::thereAre143RowsWithDifferentLabels()
{
    int rows = 0;
    QSet<QString> labels;
    for (int i = 0; frameInfos[i].name; ++i) {
        for (int row = 0; row < frameInfos[i].fieldCount - 1; ++row) {
            ++rows;
            labels.insert(frameInfos[i].fields[row].label);
        }
    }
    QCOMPARE(rows, 143);
    QCOMPARE(labels.size(), 143);
}

void TestFrameTable::everyCodeHasItsDescriptor()
{
    QMap<int, int> described;
    for (const ExpectedField &field : expectedFields())
        ++described[field.code];

    int position = 0;
    for (const ExpectedCode &expected : kCodes) {
        const FrameInfo &info = frameInfos[position++];
        QCOMPARE(int(info.code), expected.code);
        QCOMPARE(info.size, expected.size);
        QCOMPARE(info.fieldCount, expected.rows + 1);
        QCOMPARE(QString::fromLatin1(info.name), QString::fromLatin1(expected.name));
        QCOMPARE(described.value(expected.code), expected.rows);
        for (int row = 0; row < expected.rows; ++row) {
            QVERIFY2(QByteArray(info.fields[row].name).startsWith(expected.prefix), info.fields[row].name);
            QCOMPARE(findFrameField(info.code, row), info.fields + row);
        }
    }
}

void TestFrameTable::descriptorsEndWithAZeroRow()
{
    const FrameInfo &last = frameInfos[std::size(kCodes)];
    QCOMPARE(int(last.code), 0);
    QCOMPARE(last.size, 0);
    QCOMPARE(last.fieldCount, 0);
    QVERIFY(!last.fields);
    QVERIFY(!last.name);
}

void TestFrameTable::everyTableEndsWithAnEmptyRow()
{
    for (const ExpectedCode &code : kCodes) {
        const FrameField *behind = findFrameField(quint16(code.code), code.rows);
        QVERIFY(behind);
        QCOMPARE(int(behind->index), 0);
        QCOMPARE(int(behind->offset), 0);
        QCOMPARE(int(behind->width), 0);
        QCOMPARE(behind->divisor, 0.0);
        QCOMPARE(behind->isSigned, false);
        QVERIFY(!behind->name);
        QVERIFY(behind->label.isEmpty());
    }
}

void TestFrameTable::unknownCodeHasNoField_data()
{
    QTest::addColumn<int>("code");
    // The end row has the code 0, which must not be found.
    for (const int code : {0x00, 0x06, 0x10, 0x40, 0x42, 0x50, 0x54, 0xFF, 0x101, 0xFFFF})
        QTest::addRow("0x%02x", code) << code;
}

void TestFrameTable::unknownCodeHasNoField()
{
    QFETCH(int, code);
    QVERIFY(!findFrameField(quint16(code), 0));
    QVERIFY(!findFrameField(quint16(code), 3));
}

void TestFrameTable::readsBigEndianIntegers()
{
    QCOMPARE(read({0x7F}, false), 127.0);
    QCOMPARE(read({0xFF}, false), 255.0);
    QCOMPARE(read({0x12, 0x34}, false), 4660.0);
    QCOMPARE(read({0xFF, 0xFE}, false), 65534.0);
    QCOMPARE(read({0x12, 0x34, 0x56, 0x78}, false), 305419896.0);
    QCOMPARE(read({0xFF, 0xFF, 0xFF, 0xFF}, false), 4294967295.0);
    QCOMPARE(read({0x12, 0x34}, true), 4660.0);
    QCOMPARE(read({0x12, 0x34, 0x56, 0x78}, true), 305419896.0);
}

void TestFrameTable::readsSignedAsTwosComplement()
{
    QCOMPARE(read({0x80}, true), -128.0);
    QCOMPARE(read({0xFF}, true), -1.0);
    QCOMPARE(read({0x7F}, true), 127.0);
    QCOMPARE(read({0x80, 0x00}, true), -32768.0);
    QCOMPARE(read({0xFF, 0xFE}, true), -2.0);
    QCOMPARE(read({0x80, 0x00, 0x00, 0x00}, true), -2147483648.0);
    QCOMPARE(read({0xFF, 0xFF, 0xFF, 0xFF}, true), -1.0);
}

void TestFrameTable::readsSixtyFourBits()
{
    QCOMPARE(read({0, 0, 0, 1, 0, 0, 0, 2}, false), 4294967298.0);
    QCOMPARE(read({0, 0, 0, 1, 0, 0, 0, 2}, true), 4294967298.0);
    QCOMPARE(read({0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFD}, true), -3.0);
    QCOMPARE(read({0x80, 0, 0, 0, 0, 0, 0, 0}, true), -9223372036854775808.0);
    QCOMPARE(read({0x80, 0, 0, 0, 0, 0, 0, 0}, false), 9223372036854775808.0);
    // 2^64 - 1 is not representable as a double; the nearest is 2^64.
    QCOMPARE(read({0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}, false), 18446744073709551616.0);
    // 2^63 + 1025 is nearer to 2^63 + 2048 than to 2^63.
    QCOMPARE(read({0x80, 0, 0, 0, 0, 0, 0x04, 0x01}, false), 9223372036854777856.0);
}

void TestFrameTable::sameBytesDifferBySign()
{
    const auto value = [](int code, const char *name, std::initializer_list<std::uint8_t> bytes) {
        for (const ExpectedField &expected : expectedFields()) {
            if (expected.code != code || expected.name != QLatin1String(name))
                continue;
            const FrameField *field = findFrameField(quint16(code), expected.number - 1);
            return readFieldValue(bytes.begin(), field->isSigned, field->width) / field->divisor;
        }
        return qQNaN();
    };
    QCOMPARE(value(0x01, "HBS_Lat", {0xFF, 0xFF, 0xFF, 0xFF}), -0.0000001);
    QCOMPARE(value(0x02, "FSS_PowerUptime", {0xFF, 0xFF, 0xFF, 0xFF}), 4294967295.0);
    QCOMPARE(value(0x03, "PGS_Yaw", {0xFF, 0xFF}), 655.35);
    QCOMPARE(value(0x03, "PGS_Roll", {0xFF, 0xFF}), -0.01);
}

void TestFrameTable::otherWidthsReadAsZero_data()
{
    QTest::addColumn<int>("width");
    for (const int width : {-1, 0, 3, 5, 6, 7, 9, 16, 127})
        QTest::addRow("%d bytes", width) << width;
}

void TestFrameTable::otherWidthsReadAsZero()
{
    QFETCH(int, width);
    std::array<std::uint8_t, 128> bytes;
    bytes.fill(0xA5);
    QCOMPARE(readFieldValue(bytes.data(), false, width), 0.0);
    QCOMPARE(readFieldValue(bytes.data(), true, width), 0.0);
}

void TestFrameTable::nullSourceReadsAsZero()
{
    for (const int width : {1, 2, 4, 8, 3}) {
        QCOMPARE(readFieldValue(nullptr, false, width), 0.0);
        QCOMPARE(readFieldValue(nullptr, true, width), 0.0);
    }
}

void TestFrameTable::readsTheWordOfTheBitFlags()
{
    const std::uint8_t low[] = {0x00, 0x05};
    const std::uint8_t high[] = {0xFF, 0x01};
    QCOMPARE(int(readBe16(low)), 5);
    QCOMPARE(int(readBe16(high)), 0xFF01);
}

void TestFrameTable::packetClassIsDeclaredAndEmpty()
{
    const QMetaObject &meta = QDataPacket::staticMetaObject;
    QCOMPARE(QString::fromLatin1(meta.className()), QStringLiteral("QDataPacket"));
    QCOMPARE(meta.superClass(), &QObject::staticMetaObject);
    QCOMPARE(meta.methodCount(), QObject::staticMetaObject.methodCount());
    QCOMPARE(meta.propertyCount(), QObject::staticMetaObject.propertyCount());
}

QTEST_GUILESS_MAIN(TestFrameTable)
#include "TestFrameTable.moc"
