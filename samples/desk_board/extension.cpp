#include "samples/desk_board/extension.h"

#include <cstdlib>

#include "client/data_share.h"
#include "client/service.h"
#include "platform/ipc/string_conversion.h"
#include "samples/desk_board/board.h"

namespace Sample {
namespace {

constexpr char BUNDLE[] = "org.example.deskboard";  // "bundleName" in manifest.json
constexpr char EXTENSION[] = "BoardExtension";      // the extension's "name"
constexpr uint32_t GET_NOTE = 0xb1;                 // "commandCode" in info_collection.json, which is hexadecimal
constexpr int32_t REFUSED = -1;

constexpr uint32_t FOUND = 0;
constexpr uint32_t UNKNOWN_FACT = 1;

// The request: the fact's name as UTF-16. The reply: an error code, then the value as UTF-16.
int32_t Answer(const Board& board, uint32_t code, ZYNE::MessageParcel& data, ZYNE::MessageParcel& reply) {
    if (code != GET_NOTE) {
        return REFUSED;
    }
    const bool known = ZYNE::Str16ToStr8(data.ReadString16()) == Board::FACT;
    const std::string note = known ? board.Read() : "";
    const bool written =
        reply.WriteUint32(known ? FOUND : UNKNOWN_FACT) && reply.WriteString16(ZYNE::Str8ToStr16(note));
    return written ? 0 : REFUSED;
}

}  // namespace

int RunBoardExtension() {
    const auto data = ZYNE::Client::OpenDataShare(Board::URI);
    if (data == nullptr) {
        return EXIT_FAILURE;
    }
    const Board board(data);
    return ZYNE::Client::RunExtension(BUNDLE, EXTENSION,
        [&board](uint32_t code, ZYNE::MessageParcel& request, ZYNE::MessageParcel& reply, const ZYNE::IPCContext&) {
            return Answer(board, code, request, reply);
        });
}

}  // namespace Sample
