// Writes the format itself, for systems without libmatio. Source: MathWorks, "MAT-File Format", chapter 1, level 5.

#include "MatFile.h"

#include <QFile>
#include <QtGlobal>
#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <limits>

namespace ostravel
{

namespace
{

/** Types of a data element. */
enum class Type : std::uint32_t { Int8 = 1, Int32 = 5, UInt32 = 6, Double = 9, Matrix = 14, Utf8 = 16 };
/** Classes of an array. */
enum class Class : std::uint32_t { Struct = 2, Char = 4, Double = 6 };

constexpr std::size_t kTagBytes = 8;

static_assert(Q_BYTE_ORDER == Q_LITTLE_ENDIAN, "numbers are written as they lie in memory");

/** Elements start at multiples of eight bytes. */
constexpr std::size_t padded(std::size_t bytes)
{
    return (bytes + 7) / 8 * 8;
}

std::uint32_t numberOf(std::size_t size)
{
    return static_cast<std::uint32_t>(std::min<std::size_t>(size, std::numeric_limits<std::uint32_t>::max()));
}

/** Bytes of what describes an array: its flags, dimensions and name, each with a tag. */
std::size_t headBytes(const char *name)
{
    return 3 * kTagBytes + 2 * sizeof(std::uint64_t) + padded(std::strlen(name));
}

/** Bytes of an array of numbers without its own tag. */
std::size_t columnBytes(const MatColumn &column)
{
    return headBytes("") + kTagBytes + column.size * sizeof(double);
}

} // namespace

struct MatFile::File {
    explicit File(const QString &path)
        : file(path)
        , good(file.open(QIODevice::WriteOnly))
    {
    }

    void put(const void *data, std::size_t size)
    {
        const auto bytes = static_cast<qint64>(size);
        good = good && file.write(static_cast<const char *>(data), bytes) == bytes;
    }
    void put(std::initializer_list<std::uint32_t> numbers)
    {
        put(numbers.begin(), numbers.size() * sizeof(std::uint32_t));
    }
    void putTag(Type type, std::size_t size) { put({static_cast<std::uint32_t>(type), numberOf(size)}); }
    /** Text as an element, with zero bytes up to the next one. */
    void putText(Type type, const QByteArray &text)
    {
        const auto size = static_cast<std::size_t>(text.size());
        putTag(type, size);
        put(text.leftJustified(static_cast<int>(padded(size)), '\0').constData(), padded(size));
    }
    void putHead(Class kind, std::size_t rows, std::size_t columns, const char *name)
    {
        putTag(Type::UInt32, sizeof(std::uint64_t));
        put({static_cast<std::uint32_t>(kind), 0});
        putTag(Type::Int32, sizeof(std::uint64_t));
        put({numberOf(rows), numberOf(columns)});
        putText(Type::Int8, name);
    }
    void putColumn(const MatColumn &column)
    {
        const std::size_t bytes = column.size * sizeof(double);
        putTag(Type::Matrix, columnBytes(column));
        putHead(Class::Double, column.size, 1, "");
        putTag(Type::Double, bytes);
        if (bytes > 0)
            put(column.values, bytes);
    }

    QFile file;
    bool good;
};

MatFile::MatFile(const QString &path)
    : m_file(std::make_unique<File>(path))
{
    constexpr int kHeadBytes = 116;
    constexpr char kNoSubsystem[8] = {};
    constexpr char kVersionAndByteOrder[] = {0, 1, 'I', 'M'}; // 1.0, little endian
    m_file->put(QByteArray(kMatFileHead).leftJustified(kHeadBytes, ' ').constData(), kHeadBytes);
    m_file->put(kNoSubsystem, sizeof kNoSubsystem);
    m_file->put(kVersionAndByteOrder, sizeof kVersionAndByteOrder);
}

MatFile::~MatFile() = default;

bool MatFile::isGood() const
{
    return m_file->good;
}

void MatFile::writeStruct(const char *name, const std::vector<MatColumn> &columns)
{
    constexpr int kNameRoom = 64; // of each field, with a zero byte at its end
    QByteArray names;
    std::size_t bytes = headBytes(name) + 2 * kTagBytes;
    for (const MatColumn &column : columns) {
        names += QByteArray(column.name).left(kNameRoom - 1).leftJustified(kNameRoom, '\0');
        bytes += kTagBytes + columnBytes(column);
    }
    bytes += static_cast<std::size_t>(names.size());
    m_file->putTag(Type::Matrix, bytes);
    m_file->putHead(Class::Struct, 1, 1, name);
    // A short element: its type, its four bytes and the number in one place of eight bytes.
    m_file->put({static_cast<std::uint32_t>(Type::Int32) | std::uint32_t{4} << 16U, std::uint32_t{kNameRoom}});
    m_file->putText(Type::Int8, names);
    for (const MatColumn &column : columns)
        m_file->putColumn(column);
}

void MatFile::writeText(const char *name, const QByteArray &text)
{
    const auto size = static_cast<std::size_t>(text.size());
    m_file->putTag(Type::Matrix, headBytes(name) + kTagBytes + padded(size));
    m_file->putHead(Class::Char, text.isEmpty() ? 0 : 1, size, name);
    m_file->putText(Type::Utf8, text);
}

bool MatFile::close()
{
    if (m_file->file.isOpen()) {
        m_file->good = m_file->good && m_file->file.flush();
        m_file->file.close();
    }
    return m_file->good;
}

} // namespace ostravel
