#pragma once

#include "Choices.h"

#include <QByteArray>
#include <QMap>
#include <QString>

/** Position of a tile in an MBTiles file; rows count from the south. */
struct TileKey {
    int zoom = 0;
    qint64 column = 0;
    qint64 row = 0;
    bool operator<(const TileKey &other) const
    {
        return zoom != other.zoom    ? zoom < other.zoom
            : column != other.column ? column < other.column
                                     : row < other.row;
    }
};

/** The tiles of a generated file. If ordinary is false, the expected result of a read is unknown. */
struct GeneratedTiles {
    bool ordinary = true;
    QMap<TileKey, QByteArray> tiles;
};

/** Writes an MBTiles file with a schema and rows that the input chooses, and damages some of them. */
GeneratedTiles generateTiles(const QString &path, Choices choices);
