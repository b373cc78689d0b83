/**
 * @file
 * INI files: sections of key=value lines, read and edited in place.
 *
 * The file is the only store. Every operation opens it again and scans it from its first line.
 * Nothing is cached. An edit replaces the bytes of the changed lines and moves what stands after
 * them. All other bytes stay as they are, comments among them, and so do the file's links, owner
 * and mode.
 *
 * Format:
 * - Lines end in CR LF or LF, and the last line needs no end. CR LF is what gets written.
 * - White space at both ends of a line, name, key or value doesn't count.
 * - A line whose first character is ';' is a comment.
 * - "[name]" begins a section. What stands after the ']' is ignored.
 * - The first '=' of a line ends its key, and the rest is the value. There are no quotes, no
 * escapes and no comments in a value.
 * - Names and keys compare without regard to case. The first match in the file wins.
 * - Lines ahead of the first section are out of reach.
 * - A line is seen up to its 2047th byte. A line that LC_CTYPE can't convert is seen up to the
 * fault. The file keeps what isn't seen.
 * - A byte order mark isn't recognised. It makes the first line an unknown line. If that line is
 * the header of a section, the section isn't found, and a put adds another one at the end of the
 * file.
 *
 * Lists are multi-strings: each string with its terminator, and one more terminator at the end.
 *
 * Names of files go to the system as they are. A relative name means the current folder of the
 * moment: after chdir() an object looks for its file in the new folder.
 *
 * Threads. Nothing is locked. An object belongs to one thread at a time. Two writers of one file
 * lose edits or damage it, and a reader beside a writer may read a torn value. Whoever isn't alone
 * with a file holds an IniFileLock (ini_file_lock.h) around each operation.
 *
 * What an edit leaves. An edit returns 1 when the file holds it. It returns 0, and the file is as
 * it was, in these cases:
 * - The file can't be opened for writing, or isn't a regular file.
 * - The text has characters that LC_CTYPE doesn't have.
 * - The disk is full, or a limit keeps the file from growing.
 * - A read, a write or a truncation fails. What was written by then is undone.
 *
 * An interrupted or short transfer goes on. An exception of the allocator leaves the file as it
 * was. Two cases can't be undone: a failure that goes on, and a failure while more than 64 KiB are
 * removed.
 *
 * An edit changes the file that it scanned. A file that gets the same name meanwhile isn't touched.
 * docs/promises.md tells what a process that dies during an edit leaves.
 *
 * Only regular files are edited. The end of a pipe is that of what its writers send: a read waits
 * for them, but not for somebody to open the pipe. Of a device, a read sees the first 4096 bytes.
 */
#ifndef VERRICK_INI_H
#define VERRICK_INI_H

#include <verrick/detail/api.h>
#include <verrick/flat/ini.h>

#include <cstddef>
#include <cstdio>

/**
 * The interface of INI files.
 *
 * Every operation blocks on the disk only, and throws std::bad_alloc. Text arguments and arrays
 * stay the caller's and aren't kept. One thread at a time uses an object.
 */
class VERRICK_API IIni {
public:
    IIni();

    /** Closes the file. */
    virtual ~IIni();

    /**
     * Opens a file, which becomes the object's file, and closes the one before. A missing file is
     * created, empty, with the mode 0666 less the process's umask.
     *
     * @param fileName at most 4095 characters, and at most 4095 bytes in the encoding of LC_CTYPE.
     *
     * Returns 1 if the file is open. Returns 0 if it can't be opened or created; later operations
     * try again. Returns 0 as well for null, for a name that is too long and for one that can't be
     * converted; the object then has no file.
     */
    virtual int Open(wchar_t const* fileName) = 0;

    /** Closes the file. The next operation opens it again. */
    virtual void Close() = 0;

    /**
     * Lists the names of all sections in the order of the file.
     *
     * @param out receives a multi-string. A list that doesn't fit is cut.
     * @param size elements of out.
     *
     * Returns the number of characters stored, with all terminators but the last two. Returns 0 and
     * leaves out alone if there is no file, for a null out and for a size under 2. A file that
     * can't be read counts as empty.
     */
    virtual unsigned int GetSectionNames(wchar_t* out, unsigned int size) = 0;

    /**
     * Lists the keys of a section. Arguments and result are those of GetSectionNames. For a section
     * that doesn't exist, and for a null one, the list is empty and the result is 0.
     */
    virtual unsigned int GetKeyNames(wchar_t const* section, wchar_t* out, unsigned int size) = 0;

    /** Lists the keys of a section with their values, each as key=value. Otherwise as GetKeyNames.
     */
    virtual unsigned int GetSection(wchar_t const* section, wchar_t* out, unsigned int size) = 0;

    /**
     * Writes or deletes a whole section. Everything that stood in the section is lost.
     *
     * @param section the name. A section that isn't there is added at the end of the file, after a
     * blank line.
     * @param lines a multi-string. Each string becomes a line as it is, for instance a comment, of
     * at most 2047 bytes. Null deletes the section, down to the next header.
     *
     * Returns 1 on success, also if there is nothing to delete. Returns 0 for a null section and
     * for a failed edit.
     */
    virtual int PutSection(wchar_t const* section, wchar_t const* lines) = 0;

    /**
     * Copies the value of a key.
     *
     * @param section, key names. Null is found nowhere.
     * @param defaultValue what to copy if there is no such key. Null stands for the empty string.
     * @param out receives the value or the default, cut to size - 1 characters.
     * @param size elements of out.
     *
     * Returns the length of the string in out. Returns 0 and leaves out alone, without the default,
     * for a null out, for a size of 0 and if the file can't be opened or created.
     */
    virtual unsigned int GetKeyValue(wchar_t const* section, wchar_t const* key,
                                     wchar_t const* defaultValue, wchar_t* out,
                                     unsigned int size) = 0;

    /**
     * Writes or deletes a key.
     *
     * @param section the name. A section that isn't there is added at the end of the file.
     * @param key the name. The key's line is replaced. A new key goes after the last line of its
     * section, but ahead of comments directly above the next header.
     * @param value any text. Null deletes the key, with the comment lines directly above it and the
     * lines without a key below it.
     *
     * Returns 1 on success, also if there is nothing to delete. Returns 0 for a null section or key
     * and for a failed edit.
     */
    virtual int PutKeyValue(wchar_t const* section, wchar_t const* key, wchar_t const* value) = 0;

    IIni(IIni const&) = delete;
    IIni& operator=(IIni const&) = delete;
};

/** An INI file, as an application creates it. Its operations are those of IIni. */
class VERRICK_API DIni : public IIni {
public:
    /**
     * Opens a file as Open does, unless the name is null. Whether that worked shows in the later
     * operations.
     */
    explicit DIni(wchar_t const* fileName);
    ~DIni() override;

    int Open(wchar_t const* fileName) override;
    void Close() override;
    unsigned int GetSectionNames(wchar_t* out, unsigned int size) override;
    unsigned int GetKeyNames(wchar_t const* section, wchar_t* out, unsigned int size) override;
    unsigned int GetSection(wchar_t const* section, wchar_t* out, unsigned int size) override;
    int PutSection(wchar_t const* section, wchar_t const* lines) override;
    unsigned int GetKeyValue(wchar_t const* section, wchar_t const* key,
                             wchar_t const* defaultValue, wchar_t* out, unsigned int size) override;
    int PutKeyValue(wchar_t const* section, wchar_t const* key, wchar_t const* value) override;

private:
    IIni* m_impl; /* owned; constant after construction */
};

/**
 * The implementation of DIni. A class may derive from it to open files in its own way. Each
 * operation calls Open first. An edit that moves bytes calls it twice more before it changes
 * anything. If one of these calls leaves no open file, the edit returns 0.
 */
class VERRICK_API DIniImpl : public IIni {
public:
    /** Opens a file as DIni does, with this class's Open. */
    explicit DIniImpl(wchar_t const* fileName);
    ~DIniImpl() override;

    int Open(wchar_t const* fileName) override;
    void Close() override;
    unsigned int GetSectionNames(wchar_t* out, unsigned int size) override;
    unsigned int GetKeyNames(wchar_t const* section, wchar_t* out, unsigned int size) override;
    unsigned int GetSection(wchar_t const* section, wchar_t* out, unsigned int size) override;
    int PutSection(wchar_t const* section, wchar_t const* lines) override;
    unsigned int GetKeyValue(wchar_t const* section, wchar_t const* key,
                             wchar_t const* defaultValue, wchar_t* out, unsigned int size) override;
    int PutKeyValue(wchar_t const* section, wchar_t const* key, wchar_t const* value) override;

private:
    /*
     * Scans. Each begins at the stream's position and leaves it after the last line that it took.
     * GetSection and FindSection set the line mark to the header found, or to the end of the file.
     * GetKey and FindKey set it to the first of the comment lines directly above the line that
     * ended the scan, or to that line.
     */
    bool GetSection();
    bool GetKey();
    bool FindSection(wchar_t const* name);
    bool FindKey(wchar_t const* name);

    /* Adds text to out at *position. No terminator may stand above limit. True if all of it fits.
     */
    bool AddString(wchar_t const* text, wchar_t* out, unsigned int* position, unsigned int limit);

    /* Moves the bytes from source to the end of the file to target. Opens the file before and
     * after. */
    bool FileMove(long source, long target);

    bool ReplaceKey(wchar_t const* section, wchar_t const* key, wchar_t const* value);
    bool DeleteKey(wchar_t const* section, wchar_t const* key);
    bool ReplaceSection(wchar_t const* section, wchar_t const* lines);
    bool DeleteSection(wchar_t const* section);

    struct VERRICK_INTERNAL Steps; /* what the operations share; none of it is exported */

    wchar_t m_fileName[4096]; /* as the last Open got it */
    FILE* m_file;             /* null while closed; its buffer is never used */
    long m_lineStart;         /* the line mark: a byte offset in the file */
    wchar_t* m_line;          /* owned; the line last looked at, or its section name or key */
    wchar_t* m_value;         /* in m_line: the value of the key last found */
    unsigned int m_lineSize;  /* elements of m_line */
    char m_mode[10];          /* of the next fopen */
};

#endif
