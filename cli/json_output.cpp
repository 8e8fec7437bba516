#include "cli/json_output.h"

#include <iostream>
#include <memory>

#include <json/writer.h>

namespace ZYNE::Cli {

void PrintJson(const Json::Value& value) {
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "  ";
    builder["emitUTF8"] = true;
    const std::unique_ptr<Json::StreamWriter> writer(builder.newStreamWriter());
    writer->write(value, &std::cout);
    std::cout << '\n';
}

}  // namespace ZYNE::Cli
