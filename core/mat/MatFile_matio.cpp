#include "MatFile.h"

#include <QFile>
#include <filesystem>
#include <matio.h>
#include <type_traits>

namespace ostravel
{

namespace
{

using Variable = std::unique_ptr<matvar_t, void (*)(matvar_t *)>;

/** A path as the library wants it: it opens UTF-8 on Windows and bytes elsewhere. */
QByteArray nativePath(const QString &path)
{
    if constexpr (std::is_same_v<std::filesystem::path::value_type, wchar_t>)
        return path.toUtf8();
    else
        return QFile::encodeName(path);
}

/** A column that stays with its owner until the variable is gone. */
matvar_t *variableOf(const MatColumn &column)
{
    static const double none = 0;
    std::size_t shape[] = {column.size, 1};
    const double *const data = column.size > 0 ? column.values : &none;
    // The library takes what it only reads as not constant.
    return Mat_VarCreate(column.name, MAT_C_DOUBLE, MAT_T_DOUBLE, 2, shape, const_cast<double *>(data), // NOLINT
                         MAT_F_DONT_COPY_DATA);
}

} // namespace

struct MatFile::File {
    void write(const Variable &variable)
    {
        good = good && variable != nullptr && Mat_VarWrite(file, variable.get(), MAT_COMPRESSION_NONE) == 0;
    }

    mat_t *file;
    bool good;
};

MatFile::MatFile(const QString &path)
{
    mat_t *const file = Mat_CreateVer(nativePath(path).constData(), kMatFileHead, MAT_FT_MAT5);
    m_file = std::make_unique<File>(File{file, file != nullptr});
}

MatFile::~MatFile()
{
    close();
}

bool MatFile::isGood() const
{
    return m_file->good;
}

void MatFile::writeStruct(const char *name, const std::vector<MatColumn> &columns)
{
    std::vector<const char *> fields;
    fields.reserve(columns.size());
    for (const MatColumn &column : columns)
        fields.push_back(column.name);
    std::size_t shape[] = {1, 1};
    const Variable variable(Mat_VarCreateStruct(name, 2, shape, fields.data(), static_cast<unsigned>(fields.size())),
                            &Mat_VarFree);
    for (const MatColumn &column : columns)
        Mat_VarSetStructFieldByName(variable.get(), column.name, 0, variableOf(column));
    m_file->write(variable);
}

void MatFile::writeText(const char *name, const QByteArray &text)
{
    QByteArray own = text;
    std::size_t shape[] = {text.isEmpty() ? 0U : 1U, static_cast<std::size_t>(text.size())};
    m_file->write({Mat_VarCreate(name, MAT_C_CHAR, MAT_T_UTF8, 2, shape, own.data(), 0), &Mat_VarFree});
}

bool MatFile::close()
{
    if (m_file->file != nullptr)
        m_file->good = Mat_Close(m_file->file) == 0 && m_file->good;
    m_file->file = nullptr;
    return m_file->good;
}

} // namespace ostravel
