#ifndef V2XSHM_LOCALMAP_LMRSILISTMNG_H
#define V2XSHM_LOCALMAP_LMRSILISTMNG_H

#include <vector>

#include "localmap/LMRSIExtend.h"
#include "shm/IFSHM.h"

// Keeps the received road-side information in its shared segment (key
// 77403, 1 MiB), in arrival order. Segment image: a native signed 32-bit
// record count, then each record's flattened image (LMRSIExtend::Obj2Buff),
// then zeros. Readers stop after count records or at the end of the segment,
// and fail rather than read a record past it. Two records are the same
// information when their sourceID texts (compared up to the first zero or
// the field's 16 bytes) and their infoIDs are equal; an update takes the
// stored record's place. One object per thread: the local vector is not locked.
class LMRSIListMng : public IF_SHM {
public:
    static constexpr int SHM_KEY = 77403;
    static constexpr int SHM_SIZE = 1048576;
    static constexpr double RSI_MAX_AGE = 10.0;  // seconds without refresh before a record goes

    explicit LMRSIListMng(bool isOwner);

    // Writes the local vector, in order, over the whole segment. The base's
    // result (1), or -1 with nothing written when the flattened records
    // exceed the segment or memory runs out.
    int commit();
    // Replaces the local vector from the segment. 1; -1 when a record does
    // not decode within the segment or memory runs out: the vector then
    // holds the records decoded so far. A segment that cannot be read yields
    // an empty vector.
    int update() override;

    // Callback for operateSHMNotSafe. `incoming` is one LMRSIExtend or null.
    // The first stored record that is the same information takes its content
    // (copyObj) and is stamped now, in its place; a later duplicate stays as
    // it was. Otherwise the record is stamped (in *incoming) and appended.
    // A null record only rewrites the image. 1; -1 with the image unchanged
    // when it does not decode, the result exceeds the segment, memory runs
    // out or the image is null.
    static int insertUpdateList(void* image, void* incoming);
    // Callback for operateSHMNotSafe. `incoming` is a std::vector<LMRSIExtend>.
    // Each stored record takes the content of the first incoming record that
    // is the same information, is stamped now and keeps its place; that
    // incoming record is erased from the vector. Those left are stamped (in
    // the vector) and appended in order. 1; -1 as insertUpdateList, also for
    // a null vector.
    static int insertUpdateListMulti(void* image, void* incoming);
    // Callback for operateSHMNotSafe (arg unused): drops the records not
    // refreshed for more than RSI_MAX_AGE, keeping the others' order. 1; -1
    // with the image unchanged when it does not decode or on a null image.
    static int refreshList(void* image, void* arg);

    // Decodes a received RSI list at *pos (2 bytes not read, a big-endian
    // 32-bit count, the records) into the local vector, cleared first, in
    // stream order; sourceID stays zero. Bytes consumed with *pos advanced;
    // -1 for a null buffer or cursor, a negative cursor or len (vector
    // untouched) or when memory runs out; -2 for a broken count or record
    // (records decoded before it stay, *pos unchanged). The message must be
    // complete: check untrusted input first (LMSignalCheck).
    int DeSerialize(const char* buf, int* pos, int len);

    // True when a and b are the same information.
    static bool sameInfo(const LMRSIBase& a, const LMRSIBase& b);

    std::vector<LMRSIExtend> records;  // the local copy, in list order

private:
    using RecordList = std::vector<LMRSIExtend>;

    // Replaces *out by the records of an image, decoding into the records it
    // holds (reusing their point buffers); *end (when not null) receives where
    // the last record ends. 1, or -1 at the first record that does not decode
    // within the segment (*out then holds the records before it).
    static int decodeImage(const char* image, RecordList* out, int* end);
    // Writes the records with their count and zeroes what an earlier list
    // left up to dirtyEnd. 1, or -1 with the image untouched when they do
    // not fit.
    static int encodeImage(char* image, const RecordList& list, int dirtyEnd);
    char* imageBuffer();

    std::vector<char> segmentImage;  // kept between calls; too large for the stack
};

#endif
