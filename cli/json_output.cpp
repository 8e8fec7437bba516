#include "cli/json_output.h"

#include <iostream>
#include <memory>

#include <json/writer.h>

namespace ZYNE::Cli {
namespace {

void Write(const Json::Value& value, const char* indentation) {
    Json::StreamWriterBuilder builder;
    builder["indentation"] = indentation;
    builder["emitUTF8"] = true;
    const std::unique_ptr<Json::StreamWriter> writer(builder.newStreamWriter());
    writer->write(value, &std::cout);
    std::cout << '\n';
}

}  // namespace

void PrintJson(const Json::Value& value) {
    Write(value, "  ");
}

void PrintJsonLine(const Json::Value& value) {
    Write(value, "");
    std::cout.flush();
}

}  // namespace ZYNE::Cli
