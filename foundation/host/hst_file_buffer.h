// Hst_File_Buffer: the read buffer on one non-blocking descriptor, usually the read end
// of a child's output pipe. It hands out whole lines (the newline not included, a
// carriage return kept) or blocks of bytes, and never sleeps except in
// Block_Until_Is_Readable and the bounded wait of Get_Block.
//
//   Hst_File_Buffer buffer(fd, 1024);
//   Fnd_String line;
//   for (;;) {
//       Hst_File_Buffer::Read_Status status = buffer.Get_Line(charset, line, cond);
//       if (status == Hst_File_Buffer::Read_Ok) ... use line ...
//       else if (status == Hst_File_Buffer::Read_No_Data) Block_Until_Is_Readable(fds);
//       else break;   // Read_Eof or Read_Error
//   }
//
// The descriptor is not owned. Diagnostics under "FILE_BUFFER" (id 51): bit 1 the reads
// with their counts, bit 32 also their text.
#pragma once

#include "foundation/base/fnd_object.h"
#include "foundation/base/fnd_string.h"
#include "ztcoreutil/adcharset.h"

class Fnd_Condition;

class Hst_File_Buffer : public virtual Fnd_Object {
    FND_OBJECT_MEMBERS(Hst_File_Buffer)
public:
    enum Read_Status {
        Read_Ok = 0,       // there is data; in line mode a whole line
        Read_No_Data = 1,  // nothing there yet (EAGAIN)
        Read_Partial = 2,  // data came, but no whole line yet
        Read_Eof = 3,      // end of file and nothing left in the buffer
        Read_Error = 4     // read failed
    };

    // Capacity + 1 bytes of storage; a Capacity below 1 counts as 1.
    Hst_File_Buffer(int Fd, long Capacity);
    ~Hst_File_Buffer() override;
    Hst_File_Buffer() = delete;
    Hst_File_Buffer(const Hst_File_Buffer&) = delete;
    Hst_File_Buffer& operator=(const Hst_File_Buffer&) = delete;
    // Buffers are not compared: ends in an assertion.
    long Is_Equal(const Fnd_Object& Other) const override;

    int Get_Fd() const { return Fd; }
    bool At_Eof() const { return Eof != 0; }
    long Get_Capacity() const { return Capacity; }
    long Unread_Count() const { return static_cast<long>(Data_End - Data_Start); }

    // Whether a whole line is buffered. Each byte is scanned once, however often asked.
    [[nodiscard]] bool Have_Line();
    // Have_Line in line mode, else whether any byte is unread.
    [[nodiscard]] bool Have_Data(bool By_Line);
    // Reads if what is asked for is not buffered yet. Read_Eof in line mode with a rest
    // left gives Read_Ok: the last line needs no newline. Read_Error leaves
    // Hst_Process_Error 3 over Hst_Sys_Call_Error 141 in Condition.
    [[nodiscard]] Read_Status Data_Status(bool By_Line, Fnd_Condition& Condition);
    // The next line, decoded from Charset. A line that does not decode leaves Line as it
    // was; the buffer moves past it in any case.
    [[nodiscard]] Read_Status Get_Line(const AdCharset& Charset, Fnd_String& Line,
                                       Fnd_Condition& Condition);
    // Up to Size bytes into Block; Size becomes the count. Waits at most 5 seconds for
    // more: Read_Ok with a short or 0 count is normal.
    [[nodiscard]] Read_Status Get_Block(char* Block, long& Size, Fnd_Condition& Condition);

    // Blocks until one of Fds (a list ended by the first value below 1) is readable;
    // the index of the first ready one, or -1 when the wait failed (errno tells).
    [[nodiscard]] static long Block_Until_Is_Readable(const int* Fds);

private:
    Read_Status Get_Data();
    Read_Status Fill_Buffer();
    void Enlarge_Buffer();
    Read_Status Read_Failed(Fnd_Condition& Condition, int Error);
    void Take_Bytes(long Count);

    int Fd;
    long Eof = 0;
    char* Buffer = nullptr;
    long Capacity = 0;
    char* Data_Start = nullptr;
    char* Data_End = nullptr;
    char* Line_Scan = nullptr;
    // The charset of the last Get_Line, and whether ASCII lines skip the converter.
    AdCharset Decoded_Charset;
    bool Ascii_Fast = false;
    Fnd_String Widened;  // the storage an ASCII line is widened into
};
