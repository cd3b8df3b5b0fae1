#pragma once

#include <QByteArray>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QString>
#include <QVariant>
#include <QtGlobal>

/** Bytes that begin like a PNG image and contain the address of the tile. */
inline QByteArray pngBytes(int zoom, int column, int row)
{
    return QByteArray("\x89PNG\r\n\x1a\n", 8) + QStringLiteral("%1/%2/%3").arg(zoom).arg(column).arg(row).toLatin1();
}

/** Writes an MBTiles file. */
class MBTilesFile
{
public:
    explicit MBTilesFile(const QString &path)
        : m_database(QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("mbtiles")))
    {
        m_database.setDatabaseName(path);
        if (!m_database.open())
            qFatal("cannot write %s", qPrintable(path));
        run(QStringLiteral("BEGIN"));
    }
    ~MBTilesFile()
    {
        run(QStringLiteral("COMMIT"));
        m_database.close();
        m_database = QSqlDatabase();
        QSqlDatabase::removeDatabase(QStringLiteral("mbtiles"));
    }
    Q_DISABLE_COPY_MOVE(MBTilesFile)

    void run(const QString &statement)
    {
        if (!QSqlQuery(m_database).exec(statement))
            qFatal("%s", qPrintable(statement));
    }
    void makeTables()
    {
        run(QStringLiteral("CREATE TABLE metadata (name TEXT, value TEXT)"));
        run(QStringLiteral(
            "CREATE TABLE tiles (zoom_level INTEGER, tile_column INTEGER, tile_row INTEGER, tile_data BLOB)"));
    }
    void addMetadata(const QString &name, const QString &value)
    {
        insert(QStringLiteral("INSERT INTO metadata VALUES (?, ?)"), {name, value});
    }
    /** @param row from the south, as in the file */
    void addTile(int zoom, int column, int row, const QByteArray &bytes)
    {
        insert(QStringLiteral("INSERT INTO tiles VALUES (?, ?, ?, ?)"), {zoom, column, row, bytes});
    }
    void insert(const QString &statement, const QVariantList &values)
    {
        QSqlQuery query(m_database);
        query.prepare(statement);
        for (const QVariant &value : values)
            query.addBindValue(value);
        if (!query.exec())
            qFatal("%s", qPrintable(statement));
    }

    /** All tiles of zoom levels 0 to 3, each with its own address (row from the north) as pngBytes. */
    static void writeWorld(const QString &path)
    {
        MBTilesFile file(path);
        file.makeTables();
        file.addMetadata(QStringLiteral("name"), QStringLiteral("World"));
        file.addMetadata(QStringLiteral("format"), QStringLiteral("png"));
        file.addMetadata(QStringLiteral("minzoom"), QStringLiteral("0"));
        file.addMetadata(QStringLiteral("maxzoom"), QStringLiteral("3"));
        file.addMetadata(QStringLiteral("bounds"), QStringLiteral("-180,-85,180,85"));
        const int sides[] = {1, 2, 4, 8};
        for (int zoom = 0; zoom < 4; ++zoom)
            for (int column = 0; column < sides[zoom]; ++column)
                for (int fromSouth = 0, fromNorth = sides[zoom] - 1; fromNorth >= 0; ++fromSouth, --fromNorth)
                    file.addTile(zoom, column, fromSouth, pngBytes(zoom, column, fromNorth));
    }

private:
    QSqlDatabase m_database;
};
