#include "AppFileUtils.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <charconv>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "AppFileCopy_p.h"
#include "PtPath.h"
#include "PtPlatformServices.h"
#include "PtUTF.h"

namespace {

constexpr int kMaxAttempts = 10000;
constexpr QChar kSeparator = QLatin1Char('/');

const unsigned short* units(const QString& s) { return s.utf16(); }

// The bytes that the platform's path calls make of `text`. Nothing after a
// NUL reaches the file system; the NUL is kept so that a path put together
// from pieces ends there as well.
std::string pathBytes(const QString& text)
{
    std::string bytes = ptucsToUtf8(units(text));
    if (text.contains(QChar(0)))
        bytes.push_back('\0');
    return bytes;
}

// The standard folders have always come back through a 256-byte path
// buffer. A cut never splits a character: it ends before the first byte of
// a sequence that would not fit whole.
QString cutToPathBuffer(const QString& folder)
{
    constexpr int kPathBytes = 256;
    QByteArray bytes = QFile::encodeName(folder);
    if (bytes.size() <= kPathBytes)
        return folder;
    int end = kPathBytes;
    while (end > 0 && (uchar(bytes[end]) & 0xC0) == 0x80)
        --end;
    bytes.truncate(end);
    return QFile::decodeName(bytes);
}

// The candidates of one search as file names. Stem and extension are
// converted to bytes once, when the first numbered name is asked for; from
// one attempt to the next only the number changes. The long-name rule counts
// UTF-16 units, as in the names the caller sees.
class Candidates {
 public:
    explicit Candidates(const QString& base)
        : m_base(base), m_dot(base.lastIndexOf(QLatin1Char('.'))), m_baseBytes(pathBytes(base))
    {
    }

    // The name of an attempt, the base itself or numbered; valid until the next call.
    const char* bytes(bool plain, unsigned number)
    {
        if (plain)
            return m_baseBytes.c_str();
        if (m_dot >= 0 && m_extBytes.empty()) {
            m_stemBytes = pathBytes(m_base.left(m_dot));
            m_extBytes = pathBytes(m_base.mid(m_dot));
        }
        char digits[16];
        char* end = std::to_chars(digits, digits + sizeof digits, number).ptr;
        // A negative count keeps the whole base, extension included, as the
        // stem: the long-name rule has always behaved so and names depend on it.
        m_name = isLong(int(end - digits)) || m_dot < 0 ? m_baseBytes : m_stemBytes;
        m_name.push_back('-');
        m_name.append(digits, std::size_t(end - digits));
        m_name += m_extBytes;
        return m_name.c_str();
    }

    // The same name as text, for the caller.
    QString text(bool plain, unsigned number) const
    {
        if (plain)
            return m_base;
        const QString num = QString::number(number);
        const QString stem = isLong(num.size()) || m_dot < 0 ? m_base : m_base.left(m_dot);
        return stem + QLatin1Char('-') + num + (m_dot < 0 ? QString() : m_base.mid(m_dot));
    }

 private:
    bool isLong(int numberLength) const { return m_base.size() + numberLength >= 254; }

    const QString m_base;
    const int m_dot;
    const std::string m_baseBytes;
    std::string m_stemBytes, m_extBytes, m_name;
};

// Looks names up in the folder: the existence probe, the exclusive create
// and the unlink of the rule. They go by full path until useHandle; from
// then on through a handle on the folder, so that a long search does not
// walk the folder's path again for every candidate. A folder that cannot be
// opened, or whose text holds a NUL, stays with full paths.
class FolderLookup {
 public:
    explicit FolderLookup(const QString& folder)
        : m_mayOpen(!folder.contains(QChar(0)))
    {
        // Room for the folder and a name in one allocation: at most three
        // bytes per UTF-16 unit.
        m_path.reserve(std::size_t(folder.size()) * 3 + 80);
        m_path += pathBytes(folder);
        m_path.push_back('/');
        m_prefixLength = m_path.size();
    }
    ~FolderLookup()
    {
        if (m_dir >= 0)
            ::close(m_dir);
    }
    FolderLookup(const FolderLookup&) = delete;
    FolderLookup& operator=(const FolderLookup&) = delete;

    void useHandle()
    {
        if (m_dir < 0 && m_mayOpen)
            m_dir = ::open(full(""), O_PATH | O_DIRECTORY | O_CLOEXEC);
    }
    bool exists(const char* name)
    {
        return (m_dir >= 0 ? ::faccessat(m_dir, relative(name), F_OK, 0) : ::access(full(name), F_OK)) == 0;
    }
    int createExclusively(const char* name)
    {
        constexpr int flags = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC;
        return m_dir >= 0 ? ::openat(m_dir, relative(name), flags, 0600) : ::open(full(name), flags, 0600);
    }
    void remove(const char* name)
    {
        if (m_dir >= 0)
            ::unlinkat(m_dir, relative(name), 0);
        else
            ::unlink(full(name));
    }

 private:
    const char* full(const char* name)
    {
        m_path.resize(m_prefixLength);
        m_path += name;
        return m_path.c_str();
    }
    // "folder/" followed by nothing names the folder itself, and so does ".".
    static const char* relative(const char* name) { return *name ? name : "."; }

    std::string m_path; // the folder and its separator, then the name of the last call
    std::size_t m_prefixLength;
    const bool m_mayOpen;
    int m_dir = -1;
};

} // namespace

bool generateUniqueFileName(const QString& folder, const QString& name, QString& inOut, unsigned start,
                            bool alwaysNumber)
{
    try {
        Candidates candidates(inOut.isEmpty() ? name : inOut);
        FolderLookup folderLookup(folder.trimmed());
        unsigned number = start;
        bool plain = false;
        unsigned tried = start;
        for (int attempt = 0; attempt < kMaxAttempts; ++attempt) {
            if (attempt == 1)
                folderLookup.useHandle();
            plain = attempt == 0 && !alwaysNumber;
            tried = plain ? start : number++;
            const char* file = candidates.bytes(plain, tried);
            if (folderLookup.exists(file))
                continue;
            const int fd = folderLookup.createExclusively(file);
            if (fd < 0) {
                if (errno == EEXIST)
                    continue;
                inOut = candidates.text(plain, tried);
                return false;
            }
            ::close(fd);
            folderLookup.remove(file);
            inOut = candidates.text(plain, tried);
            return true;
        }
        inOut = candidates.text(plain, tried);
        return false;
    } catch (...) {
        return false;
    }
}

unsigned utilBaseFilename(const QString& name, QString& base)
{
    base = name;
    const int dot = name.lastIndexOf(QLatin1Char('.'));
    if (dot >= 0)
        base = name.left(dot);
    const int dash = base.lastIndexOf(QLatin1Char('-'));
    if (dash < 0)
        return 0;
    bool ok = false;
    const unsigned number = base.mid(dash + 1).toUInt(&ok, 10);
    base.truncate(dash);
    return ok ? number : 0;
}

bool copyFileIntoTargetFolder(const QString& srcFolder, const QString& srcName, const QString& dstFolder,
                              const QString& dstName)
{
    try {
        const QByteArray source = QFile::encodeName(srcFolder.trimmed() + kSeparator + srcName);
        const QByteArray target = QFile::encodeName(dstFolder.trimmed() + kSeparator + dstName);
        const bool copied = appCopyFile(source.constData(), target.constData());
        // The target is the owner's alone, even one that was already there.
        ::chmod(target.constData(), S_IRUSR | S_IWUSR);
        return copied;
    } catch (...) {
        return false;
    }
}

bool mkdirFromAbsPath(const QString& path)
{
    try {
        if (path.isEmpty())
            return false;
        if (QFileInfo(path).isDir())
            return true;
        const QString absolute = QDir::cleanPath(QFileInfo(path).absoluteFilePath());
        const int slash = absolute.lastIndexOf(kSeparator);
        if (slash < 0)
            return true;
        if (slash >= 3 && !mkdirFromAbsPath(absolute.left(slash)))
            return false;
        const QByteArray native = QFile::encodeName(absolute);
        // Somebody else creating it at the same moment is as good as creating it.
        return ::mkdir(native.constData(), 0777) == 0 || (errno == EEXIST && QFileInfo(absolute).isDir());
    } catch (...) {
        return false;
    }
}

void unLockFile(const QString& path)
{
    try {
        // Paths have always gone through a 256-byte buffer here; longer ones are cut.
        const QByteArray native = QFile::encodeName(path).left(255);
        struct stat st;
        if (::stat(native.constData(), &st) != 0 || S_ISDIR(st.st_mode))
            return;
        ::chmod(native.constData(), (st.st_mode & 07777) | S_IWUSR);
    } catch (...) {
    }
}

bool isFolderWritable(const QString& path)
{
    return !ptucsaccess(units(path), W_OK);
}

QString getMyPicturesPath()
{
    return cutToPathBuffer(PtPicturesFolder());
}

QString getApplicationDataFolderPath()
{
    return cutToPathBuffer(PtUserApplicationSupportFolder());
}

bool getApplicationPath(unsigned short*)
{
    return true;
}

bool getCommonSettingsStr(unsigned short*, unsigned short*, unsigned short*, int)
{
    return true;
}
