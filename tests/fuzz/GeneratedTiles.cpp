#include "GeneratedTiles.h"

#include "FuzzTarget.h"

#include <QFile>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QVariant>

#include <algorithm>
#include <array>

namespace
{

/** Variants of the tables; the first two are ordinary ones. */
constexpr std::array<const char *, 8> kTiles{
    "create table tiles (zoom_level integer, tile_column integer, tile_row integer, tile_data blob,"
    " unique (zoom_level, tile_column, tile_row))",
    "create table map (zoom_level integer, tile_column integer, tile_row integer, tile_data blob,"
    " primary key (zoom_level, tile_column, tile_row)) without rowid",
    "create table tiles (zoom_level text, tile_column text, tile_row text, tile_data text)",
    "create table tiles (zoom_level integer, tile_column integer, tile_data blob)",
    "create table tiles (zoom_level integer, tile_column integer, tile_row integer,"
    " tile_data blob generated always as (zeroblob(zoom_level * 100000)))",
    "create view tiles as with recursive t(n) as (select 1 union all select n + 1 from t where n < 50000)"
    " select 0 as zoom_level, n as tile_column, 0 as tile_row, x'ffd8ff' as tile_data from t",
    "create virtual table tiles using fts5(zoom_level, tile_column, tile_row, tile_data)",
    "create table other (id integer)",
};
constexpr char kViewOfMap[] = "create view tiles as select zoom_level, tile_column, tile_row, tile_data from map";
constexpr std::array<const char *, 4> kMetadata{
    "create table metadata (name text, value text)",
    "create table metadata (name text primary key, value) without rowid",
    "create view metadata as with recursive t(n) as (select 1 union all select n + 1 from t where n < 50000)"
    " select 'name' as name, n as value from t where n < 0",
    "create table metadata (key text)",
};
constexpr std::array<const char *, 6> kKeys{"name", "minzoom", "maxzoom", "bounds", "format", "json"};
constexpr std::array<const char *, 8> kValues{"0",          "3", "30", "31", "-1", "-10,-10,10,10", "170, 80, 190, 95",
                                              "1e999,0,1,1"};

QVariant metadataValue(Choices &choices)
{
    const int kind = choices.below(16);
    if (kind < 8)
        return QString::fromLatin1(kValues[static_cast<std::size_t>(kind)]);
    if (kind < 12)
        return QString::fromUtf8(choices.bytes(choices.below(24)));
    if (kind == 12)
        return choices.bytes(choices.below(24));
    return kind == 13 ? QVariant() : QVariant(choices.next() - 8);
}

QByteArray tileData(Choices &choices)
{
    static const std::array<QByteArray, 4> heads{QByteArray("\x89PNG\r\n\x1a\n"), QByteArray("\xff\xd8\xff"),
                                                 QByteArray("RIFF\0\0\0\0WEBP", 12), QByteArray("GIF8")};
    const int kind = choices.below(64);
    QByteArray data = heads[static_cast<std::size_t>(kind < 60 ? kind % 3 : 3)];
    if (kind == 59)
        return data.leftJustified(3 << 20, '\0'); // more than a tile may have
    data.append(choices.bytes(choices.below(8)));
    return data.leftJustified(data.size() + choices.next() * 8, '.');
}

/** An open connection. Creates the file; writes are not synchronized with the disk, which makes them fast. */
class Writer
{
public:
    explicit Writer(const QString &path)
        : m_database(QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("tiles")))
    {
        m_database.setDatabaseName(path);
        require(m_database.open());
        execute("pragma synchronous=off");
        execute("pragma page_size=512");
    }
    ~Writer()
    {
        m_database.commit();
        m_database.close();
        m_database = QSqlDatabase();
        QSqlDatabase::removeDatabase(QStringLiteral("tiles"));
    }
    Writer(const Writer &) = delete;
    Writer &operator=(const Writer &) = delete;

    void begin() { m_database.transaction(); }
    bool execute(const char *statement) { return QSqlQuery(m_database).exec(QString::fromLatin1(statement)); }
    bool insert(const QString &statement, const QVariantList &values)
    {
        QSqlQuery query(m_database);
        if (!query.prepare(statement))
            return false; // the table is missing or is a view
        for (const QVariant &value : values)
            query.addBindValue(value);
        return query.exec();
    }

private:
    QSqlDatabase m_database;
};

void writeTiles(Writer &writer, Choices &choices, const QString &table, GeneratedTiles *result)
{
    const QString statement = QStringLiteral("insert into ") + table
        + QStringLiteral(" (zoom_level, tile_column, tile_row, tile_data) values (?, ?, ?, ?)");
    while (!choices.ended()) {
        const int kind = choices.below(32);
        TileKey key;
        key.zoom = kind == 31 ? choices.next() - 128 : choices.below(5);
        key.column = kind == 30 ? choices.word() * 65536LL : choices.below(1 << std::max(0, std::min(key.zoom, 4)));
        key.row = kind == 29 ? -1 - choices.next() : choices.below(1 << std::max(0, std::min(key.zoom, 4)));
        const QByteArray data = tileData(choices);
        if (kind == 28) {
            writer.insert(statement, {key.zoom, key.column, key.row, QVariant()});
            result->ordinary = false;
        } else if (writer.insert(statement, {key.zoom, key.column, key.row, data})) {
            result->tiles.insert(key, data);
        }
    }
}

/** Changes some bytes of the file. @return whether any was changed */
bool damage(const QString &path, Choices &choices, int changes)
{
    QFile file(path);
    require(file.open(QIODevice::ReadWrite));
    for (int i = 0; i < changes; ++i) {
        require(file.seek(choices.word() % file.size()));
        file.putChar(static_cast<char>(choices.next()));
    }
    return changes > 0;
}

} // namespace

GeneratedTiles generateTiles(const QString &path, Choices choices)
{
    GeneratedTiles result;
    const int changes = std::max(0, choices.next() - 192) % 8;
    Choices places(choices);
    for (int i = 0; i < changes; ++i)
        choices.bytes(3);
    {
        Writer writer(path);
        const int tiles = choices.next() < 160 ? choices.below(2) : choices.below(8);
        const int metadata = choices.next() < 192 ? 0 : choices.below(4);
        writer.begin();
        require(writer.execute(kTiles[static_cast<std::size_t>(tiles)]) || tiles == 6);
        require(tiles != 1 || writer.execute(kViewOfMap));
        require(writer.execute(kMetadata[static_cast<std::size_t>(metadata)]));
        result.ordinary = tiles < 2;
        for (int rows = choices.below(6); rows > 0; --rows)
            writer.insert(
                QStringLiteral("insert into metadata (name, value) values (?, ?)"),
                {QString::fromLatin1(kKeys[static_cast<std::size_t>(choices.below(6))]), metadataValue(choices)});
        writeTiles(writer, choices, tiles == 1 ? QStringLiteral("map") : QStringLiteral("tiles"), &result);
    }
    if (damage(path, places, changes))
        result.ordinary = false;
    return result;
}
