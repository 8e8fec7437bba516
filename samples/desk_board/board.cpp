#include "samples/desk_board/board.h"

#include <json/value.h>
#include <json/writer.h>

#include "platform/datashare/settings_data.h"

namespace Sample {
namespace {

using ZYNE::DataShareObserver;
using ZYNE::SettingsData::KEY_COLUMN;
using ZYNE::SettingsData::VALUE_COLUMN;

constexpr char NOTE[] = "note";  // the row's key

}  // namespace

std::string Board::Read() const {
    std::string note;
    const auto found =
        data_->Query(ZYNE::Uri(URI), ZYNE::DataSharePredicates().EqualTo(KEY_COLUMN, NOTE), {VALUE_COLUMN});
    if (found != nullptr && found->GoToRow(0) == 0) {
        found->GetString(0, note);
    }
    return note;
}

bool Board::Write(const std::string& note) const {
    ZYNE::DataShareValuesBucket row;
    row.Put(KEY_COLUMN, NOTE);
    row.Put(VALUE_COLUMN, note);
    if (data_->Insert(ZYNE::Uri(URI), row) < 0) {
        return false;
    }
    Json::Value published(Json::objectValue);
    published[FACT] = note;
    const std::string text = Json::writeString(Json::StreamWriterBuilder(), published);
    DataShareObserver::ChangeInfo change;
    change.changeType = DataShareObserver::ChangeType::UPDATE;
    change.uris = {ZYNE::Uri(URI)};
    change.data = text.data();
    change.size = static_cast<uint32_t>(text.size());
    data_->NotifyChangeExt(change);
    return true;
}

}  // namespace Sample
