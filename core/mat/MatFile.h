#pragma once

#include <QByteArray>
#include <QString>
#include <cstddef>
#include <memory>
#include <vector>

namespace ostravel
{

/** A field of a struct: a column of numbers. */
struct MatColumn {
    const char *name; ///< up to 63 characters, as MATLAB's names
    const double *values; ///< stays with its owner; may be null when size is 0
    std::size_t size;
};

/**
 * A MATLAB file, level 5, not compressed.
 *
 * One source by libmatio and one without a library, for systems that have none. For one thread.
 */
class MatFile
{
public:
    /** Creates the file; an existing one is replaced. */
    explicit MatFile(const QString &path);
    ~MatFile();
    MatFile(const MatFile &) = delete;
    MatFile &operator=(const MatFile &) = delete;

    /** Whether the file could be created and nothing failed since. */
    bool isGood() const;

    /** Adds a struct of columns. Together they must be smaller than 1 GiB. */
    void writeStruct(const char *name, const std::vector<MatColumn> &columns);
    /** Adds a row of characters. @param text ASCII */
    void writeText(const char *name, const QByteArray &text);

    /** Ends the file. @return whether all of it is written */
    bool close();

private:
    struct File;
    std::unique_ptr<File> m_file;
};

/** The start of each file. Has no date, so that equal flights give equal files. */
inline constexpr char kMatFileHead[] = "MATLAB 5.0 MAT-file, written by Ostravel";

} // namespace ostravel
