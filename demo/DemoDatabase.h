#pragma once

#include <QString>
#include <functional>

class QSqlDatabase;

namespace demo
{

/** Fills an empty SQLite database; returns false with the reason in *error. */
using FillDatabase = std::function<bool(QSqlDatabase &database, QString *reason)>;

/**
 * Makes an SQLite file under a temporary name and renames it to path when it is complete. Replaces an older file.
 *
 * @param error receives the reason; may be null
 * @return false on failure; an older file at path is unchanged then
 */
bool replaceDatabase(const QString &path, const FillDatabase &fill, QString *error);

} // namespace demo
