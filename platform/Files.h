#pragma once

#include "Bytes.h"

#include <QString>

#include <memory>
#include <optional>

namespace kelpay {

/// What the stores ask of a file system beyond what Qt gives. A port to another system is one source that fills this
/// header; Files_posix.cpp is the one for POSIX. An implementation
/// - takes paths as Qt writes them, and is called by any thread and by several processes at once;
/// - keeps everybody but this user away from what it calls private; where a system knows users by other means than
///   POSIX does (an access list, a sandbox for each application), by those means;
/// - says a write is done when it survives a power loss, as far as the system can say so;
/// - leaves in errno why a call failed, since the caller logs that; it logs and throws nothing itself.
namespace Files {

/// What lies at a path. Links are not followed, so a link is foreign, as is what belongs to another user, what is
/// neither file nor folder, and what can't be looked at. On a system without owners whatever is there is the user's.
enum class Entry { Missing, Own, Foreign };
Entry entryAt(const QString &path);

/// The folder is there, belongs to this user and is open to nobody else (0700 whatever the umask); made if need be with
/// the folders above it, which keep the user's usual rights. False, and nothing changed, for one that is foreign.
bool makePrivateFolder(const QString &path);
/// The same for a file (0600). One that is there must not be opened for this: on POSIX, closing it would drop the locks
/// that this process holds on it.
bool makePrivateFile(const QString &path);
/// A file of this user's that nobody else has any right to.
bool isPrivateFile(const QString &path);

/// The whole file; a link to it will do. std::nullopt for what is no file and what can't be read to its end.
std::optional<Bytes> read(const QString &path);
/// The file at `path` holds exactly `content` and is private; until then, and where that fails, it is as it was. Uses
/// "<path>.new", which two callers must not do at once.
bool write(const QString &path, const Bytes &content);

/// `from`, with all that was written to it, takes the place of `to` in one step: at every moment, and after a power
/// loss, one of the two is whole at `to`. Who has the former file open keeps it.
bool replace(const QString &from, const QString &to);
/// A second name for the file `from`, so that it outlives the first; false where `to` is there already.
bool link(const QString &from, const QString &to);
/// Both are names of one file.
bool isSame(const QString &a, const QString &b);
/// What was linked, renamed and removed in the folder survives a power loss.
bool syncFolder(const QString &folder);

/// One holder at a time, over all processes, for each folder; it ends with the object and with the process, however
/// that ends. Only who asks for it is kept out. A second lock of one process waits like one of another. A system that
/// can't lock a folder locks a file in it.
class FolderLock
{
public:
    /// Tries for `patience` milliseconds, once for 0.
    FolderLock(const QString &folder, int patience);
    FolderLock(const FolderLock &) = delete;
    FolderLock &operator=(const FolderLock &) = delete;
    ~FolderLock();
    bool isHeld() const noexcept { return m_isHeld; }

private:
    class Handle;
    std::unique_ptr<Handle> m_handle;
    bool m_isHeld = false;
};

} // namespace Files

} // namespace kelpay
