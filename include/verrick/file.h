/**
 * @file
 * Files of raw bytes with narrow names, on the buffered streams of libc. The results are the codes
 * of FileStatus. errno is no part of them.
 *
 * An object serves one thread at a time. Every operation may block on the disk. A started program
 * doesn't inherit the file. No operation throws. The library keeps no pointer to a buffer or a name
 * after a call.
 *
 * The stream of an open file has two marks, which the results depend on:
 * - The mark of an error. A failed Read, Write or Flush sets it. Size and Close clear it. Until
 * then each Write returns FILE_STATUS_FAILED, with the true count. So does each Read, except at the
 * end of the file. Seek, Position and a Flush that works leave the mark.
 * - The mark of the end of the file. A Read that meets the end sets it. Seek, Size and Close clear
 * it. Until then a Read gets nothing, even if the file has grown.
 *
 * Write only fills a buffer. The bytes may get lost later, when the buffer goes to the system. To
 * learn of that, call Flush and then Write with a count of 0. It returns FILE_STATUS_FAILED if a
 * write was lost. Ask before you call Size or Close, because these drop the mark.
 *
 * A file may be larger than 2147483647 bytes, and is read and written like any other. But Position
 * and Size return 0 for what an int can't hold. Seek gets there in several steps.
 */
#ifndef VERRICK_FILE_H
#define VERRICK_FILE_H

#include <verrick/detail/api.h>
#include <verrick/flat/constants.h>

#include <cstdio>

/** The result of Open, Read, Write and Seek. */
enum FileStatus {
    FILE_STATUS_OK = 0,            /**< success */
    FILE_STATUS_NOT_FOUND = 1,     /**< Open: no such file. Read, Write, Seek: no file is open */
    FILE_STATUS_END_OF_FILE = 2,   /**< Read: the file is at its end, and nothing was read */
    FILE_STATUS_ACCESS_DENIED = 3, /**< Open: the system refuses permission */
    FILE_STATUS_FAILED = 4         /**< any other failure */
};

/** The interface of files. */
class VERRICK_API IFile {
public:
    /** The base of a seek. */
    enum origin_t : int {
        ORIGIN_BEGIN = 0,   /**< the start of the file, SEEK_SET */
        ORIGIN_CURRENT = 1, /**< the position, SEEK_CUR */
        ORIGIN_END = 2      /**< the end of the file, SEEK_END */
    };

    IFile();

    /** Closes the file, as Close does. */
    virtual ~IFile();

    /**
     * Opens a file. Stands for fopen. Opening a FIFO waits for its other end, unless the mode reads
     * and writes.
     *
     * @param path the name in narrow text, which goes to the system unchanged. It can be longer
     * than what Name returns.
     * @param mode bits FILE_MODE_*. flat/constants.h lists the accepted combinations.
     *
     * Returns FILE_STATUS_OK, FILE_STATUS_NOT_FOUND or FILE_STATUS_ACCESS_DENIED. Returns
     * FILE_STATUS_FAILED for any other failure, a null path, and a mode that isn't accepted. It
     * returns this too while a file is open, and that file stays open and untouched.
     */
    virtual FileStatus Open(char const* path, unsigned int mode) = 0;

    /**
     * Hands buffered bytes to the system and closes the file. Stands for fclose. An error in that
     * is not reported. Does nothing if no file is open.
     */
    virtual void Close() = 0;

    /**
     * Reads from the position on. Stands for fread.
     *
     * @param buffer room for count bytes. It may be null if count is 0.
     * @param count bytes wanted.
     * @param countDone gets the number of bytes read. It may be null. It isn't written if no file
     * is open.
     *
     * Returns FILE_STATUS_OK, also if the end of the file made it fewer bytes. The next Read, of no
     * bytes, returns FILE_STATUS_END_OF_FILE. Returns FILE_STATUS_FAILED while the mark of an error
     * is set, and FILE_STATUS_NOT_FOUND if no file is open.
     */
    virtual FileStatus Read(void* buffer, unsigned int count, unsigned int* countDone) = 0;

    /**
     * Writes into the stream's buffer, which goes to the system when it is full. Stands for fwrite.
     * Between a Read and a Write, and the other way round, call Seek or Flush, as for any stream.
     *
     * @param buffer the bytes, which are only read. It may be null if count is 0.
     * @param count number of bytes.
     * @param countDone gets the number of bytes taken. It may be null. It isn't written if no file
     * is open.
     *
     * Returns FILE_STATUS_OK, or FILE_STATUS_FAILED while the mark of an error is set. Returns
     * FILE_STATUS_NOT_FOUND if no file is open.
     */
    virtual FileStatus Write(void* buffer, unsigned int count, unsigned int* countDone) = 0;

    /**
     * Hands buffered writes to the system. Stands for fflush. It doesn't wait until they are on the
     * disk. A failure sets the mark of an error. Does nothing if no file is open.
     */
    virtual void Flush() = 0;

    /**
     * Moves the position. Stands for fseek.
     *
     * @param offset in bytes from the base. It may be negative.
     * @param origin the base.
     *
     * Returns FILE_STATUS_OK, or FILE_STATUS_NOT_FOUND if no file is open. Returns
     * FILE_STATUS_FAILED for any other origin, a place before the start, and a file without
     * positions, such as a FIFO. Then the position stays.
     */
    virtual FileStatus Seek(int offset, IFile::origin_t origin) = 0;

    /**
     * Returns the position in bytes. Stands for ftell. Returns 0 if no file is open, if the file
     * has no positions, and for a position beyond 2147483647.
     */
    virtual int Position() = 0;

    /**
     * Returns the length of the file in bytes, with the buffered writes. The position stays. Clears
     * both marks. Returns 0 if no file is open, if the file has no positions, and for a length
     * beyond 2147483647.
     */
    virtual int Size() = 0;

    /**
     * Returns the first 39 bytes of the name that Open got, or null if no file is open. The text
     * belongs to the object and is good until Close.
     */
    virtual char const* Name() = 0;

    IFile(IFile const&) = delete;
    IFile& operator=(IFile const&) = delete;
};

/** A file, as an application creates it. */
class VERRICK_API DFile : public IFile {
public:
    /** Opens nothing. */
    DFile();

    /** Closes the file, as Close does. */
    ~DFile() override;

    FileStatus Open(char const* path, unsigned int mode) override;
    void Close() override;
    FileStatus Read(void* buffer, unsigned int count, unsigned int* countDone) override;
    FileStatus Write(void* buffer, unsigned int count, unsigned int* countDone) override;
    void Flush() override;
    FileStatus Seek(int offset, IFile::origin_t origin) override;
    int Position() override;
    int Size() override;
    char const* Name() override;

private:
    char m_name[40];     /* terminated; all zero while no file is open */
    std::FILE* m_stream; /* owned; null while no file is open */
};

#endif
