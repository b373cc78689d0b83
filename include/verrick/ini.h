/**
 * @file
 * INI files: sections of key=value lines, read and edited in place.
 *
 * The file is the only store. Every operation opens it anew and scans it from its first line; an
 * edit slides what stands behind the changed lines and writes the new text into the room, so all
 * other bytes, comments among them, stay as they are.
 *
 * Format. Lines end in CR LF or LF, and the last one needs no end; CR LF is what gets written.
 * White space at both ends of a line, name, key or value doesn't count. A line whose first
 * character is ';' is a comment. "[name]" begins a section; what stands behind the ']' is ignored.
 * The first '=' of a line ends its key, and the rest is the value: there are no quotes, escapes or
 * comments in it. Names and keys compare without regard to case, and the first match in the file
 * wins. Lines ahead of the first section are out of reach. A line is seen up to its 2047th byte; a
 * line that LC_CTYPE can't convert is seen up to the fault. The file keeps what isn't seen.
 *
 * Lists come as multi-strings: strings one behind the other, each with its terminator, and one more
 * terminator behind them.
 *
 * Threads. Nothing is locked. An object belongs to one thread at a time, and nothing guards the
 * file: the caller serialises those who write it, and readers beside a writer.
 *
 * What an edit leaves. An edit gives 1 when the file holds it. It gives 0, and the file is as it
 * was,
 * - when it can't be opened for writing, or the text has characters that LC_CTYPE doesn't have;
 * - when it has no room to grow, as on a full disk: room is made before anything moves;
 * - when reading it fails in the search for the lines to change.
 * After an exception of the allocator the file is as it was as well. If a read, a write or a
 * truncation fails later than that, or the file can't be opened again in the middle of the edit,
 * the edit gives 0 too, and what stands ahead of the changed lines is untouched; of the bytes
 * behind, part may stand at the old place and part at the new one, and the room for the new text
 * may hold stale bytes. The same is left by a process that dies during an edit: there is no journal
 * or backup.
 */
#ifndef VERRICK_INI_H
#define VERRICK_INI_H

#include <verrick/detail/api.h>
#include <verrick/flat/ini.h>

#include <cstddef>
#include <cstdio>

/**
 * The interface of INI files. All operations throw std::bad_alloc, and report everything else by
 * their results.
 */
class VERRICK_API IIni {
public:
    IIni();
    virtual ~IIni();

    /**
     * Opens a file, which becomes the object's file, and closes the one before. A missing file is
     * created, empty; one that can't be opened is left alone. Gives 1 if the file is open; 0 if
     * not, and for a null name, one of more than 4095 characters and one that can't be converted,
     * which leave the object without a file.
     */
    virtual int Open(wchar_t const* fileName) = 0;

    /** Closes the file. The next operation opens it again. */
    virtual void Close() = 0;

    /**
     * Lists the names of all sections as a multi-string, in the order of the file. size counts the
     * elements of out; a list that doesn't fit is cut.
     *
     * Gives the number of characters stored, all terminators but the last two counted. Gives 0 and
     * leaves out alone without a file, for a null out and for a size under 2.
     */
    virtual unsigned int GetSectionNames(wchar_t* out, unsigned int size) = 0;

    /** Lists the keys of a section in the same way; an empty list if there is no such section. */
    virtual unsigned int GetKeyNames(wchar_t const* section, wchar_t* out, unsigned int size) = 0;

    /** Lists the keys of a section with their values, each as key=value. */
    virtual unsigned int GetSection(wchar_t const* section, wchar_t* out, unsigned int size) = 0;

    /**
     * Writes a section whole: its header and each string of the multi-string as a line of its own,
     * of at most 2047 bytes, comments for instance. Everything that stood in the section is lost. A
     * section that isn't there is added at the end of the file, behind a blank line. Null deletes
     * the section, down to the next header.
     *
     * Gives 1 on success, also when there is nothing to delete; else 0.
     */
    virtual int PutSection(wchar_t const* section, wchar_t const* lines) = 0;

    /**
     * Copies the value of a key to out, or defaultValue if there is no such section or key (null
     * stands for the empty string), cut to size - 1 characters.
     *
     * Gives the length of the string in out. Gives 0 and leaves out alone without a file, for a
     * null out and for a size of 0.
     */
    virtual unsigned int GetKeyValue(wchar_t const* section, wchar_t const* key,
                                     wchar_t const* defaultValue, wchar_t* out,
                                     unsigned int size) = 0;

    /**
     * Writes a key, in place of the line that it has or behind the last line of its section; a
     * section that isn't there is added at the end of the file. Null deletes the key, with the
     * comment lines directly above it and the lines without a key below it.
     *
     * Gives 1 on success, also when there is nothing to delete; else 0.
     */
    virtual int PutKeyValue(wchar_t const* section, wchar_t const* key, wchar_t const* value) = 0;

    IIni(IIni const&) = delete;
    IIni& operator=(IIni const&) = delete;
};

/** An INI file, as an application creates it. */
class VERRICK_API DIni : public IIni {
public:
    /** Opens a file as Open does, unless the name is null. */
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

/** The work behind DIni. */
class VERRICK_API DIniImpl : public IIni {
public:
    /** As DIni. */
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
     * Scans, each from the stream's position on, which they leave behind the last line that they
     * took. They set the line mark: GetSection and FindSection to the header found, or to the end
     * of the file; GetKey and FindKey to the first of the comment lines directly above the line
     * that ended the scan, or to that line.
     */
    bool GetSection();
    bool GetKey();
    bool FindSection(wchar_t const* name);
    bool FindKey(wchar_t const* name);

    /* Adds text to out at *position; no terminator may stand above limit. True if it went in whole.
     */
    bool AddString(wchar_t const* text, wchar_t* out, unsigned int* position, unsigned int limit);

    /* Moves the bytes from source to the end of the file to target, and re-opens the file. */
    bool FileMove(long source, long target);

    bool ReplaceKey(wchar_t const* section, wchar_t const* key, wchar_t const* value);
    bool DeleteKey(wchar_t const* section, wchar_t const* key);
    bool ReplaceSection(wchar_t const* section, wchar_t const* lines);
    bool DeleteSection(wchar_t const* section);

    struct Steps; /* what the operations share; none of it is exported */

    wchar_t m_fileName[4096]; /* as the last Open got it */
    FILE* m_file;             /* null while closed; holds no unwritten text between operations */
    long m_lineStart;         /* the line mark: a byte offset in the file */
    wchar_t* m_line;          /* owned; the line last looked at, or its section name or key */
    wchar_t* m_value;         /* in m_line: the value of the key last found */
    unsigned int m_lineSize;  /* elements of m_line */
    char m_mode[10];          /* of the next fopen */
};

#endif
