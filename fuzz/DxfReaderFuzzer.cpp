// Fuzzes the DXF reader: any input is either refused with a message or read, written and read
// back again.
#include <tv/KdDbDatabase.h>

#include <cstdint>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    KdDbDatabase db(false);
    std::string error;
    std::string text(reinterpret_cast<const char*>(data), size);
    if (db.readDxfBuffer(std::move(text), &error) != Kdad::eOk) {
        if (error.empty())
            std::abort(); // a refusal must say why
        return 0;
    }
    std::string out;
    if (db.writeDxf(out) != Kdad::eOk)
        return 0;
    KdDbDatabase again(false);
    if (again.readDxfBuffer(out, &error) != Kdad::eOk)
        std::abort(); // what we write we must read
    std::string out2;
    again.writeDxf(out2);
    if (out2 != out)
        std::abort(); // a second save changes nothing
    return 0;
}
