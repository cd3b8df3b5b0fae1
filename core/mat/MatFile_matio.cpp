#include "MatFile.h"

#include <QFile>
#include <QFileInfo>
#include <QHashFunctions>
#include <algorithm>
#include <matio.h>

namespace ostravel
{

namespace
{

using Variable = std::unique_ptr<matvar_t, void (*)(matvar_t *)>;

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

/** A hash of the type, shape and content of a variable, with all fields. */
uint fingerprint(matvar_t *variable, uint seed = 0)
{
    if (variable == nullptr)
        return seed;
    seed = qHash(static_cast<int>(variable->class_type), seed);
    seed = qHashBits(variable->dims, static_cast<std::size_t>(variable->rank) * sizeof *variable->dims, seed);
    if (variable->class_type != MAT_C_STRUCT)
        return variable->nbytes > 0 ? qHashBits(variable->data, variable->nbytes, seed) : seed;
    for (unsigned i = 0; i < Mat_VarGetNumberOfFields(variable); ++i)
        seed = fingerprint(Mat_VarGetStructFieldByIndex(variable, i, 0), seed);
    return seed;
}

} // namespace

struct MatFile::File {
    struct Written {
        QByteArray name;
        uint hash;
    };

    void write(const Variable &variable)
    {
        good = good && variable != nullptr && Mat_VarWrite(file, variable.get(), MAT_COMPRESSION_NONE) == 0;
        if (good)
            written.push_back({variable->name, fingerprint(variable.get())});
    }

    /**
     * Whether the closed file holds all variables. The library does not look whether its writes succeed: on a full disk
     * it leaves a file that lacks a part, and reports success.
     */
    bool isWhole() const
    {
        constexpr qint64 kAlignment = 8; // of elements; a reader does not miss the last filling bytes
        if (QFileInfo(QFile::decodeName(path)).size() % kAlignment != 0)
            return false;
        const std::unique_ptr<mat_t, int (*)(mat_t *)> closed(Mat_Open(path.constData(), MAT_ACC_RDONLY), &Mat_Close);
        return closed != nullptr && std::all_of(written.begin(), written.end(), [&](const Written &one) {
                   const Variable variable(Mat_VarRead(closed.get(), one.name.constData()), &Mat_VarFree);
                   return variable != nullptr && fingerprint(variable.get()) == one.hash;
               });
    }

    QByteArray path;
    mat_t *file;
    bool good;
    std::vector<Written> written;
};

MatFile::MatFile(const QString &path)
{
    const QByteArray native = QFile::encodeName(path);
    mat_t *const file = Mat_CreateVer(native.constData(), kMatFileHead, MAT_FT_MAT5);
    m_file = std::make_unique<File>(File{native, file, file != nullptr, {}});
}

MatFile::~MatFile()
{
    if (m_file->file != nullptr)
        Mat_Close(m_file->file);
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
    if (m_file->file != nullptr) {
        m_file->good = Mat_Close(m_file->file) == 0 && m_file->good && m_file->isWhole();
        m_file->file = nullptr;
    }
    return m_file->good;
}

} // namespace ostravel
