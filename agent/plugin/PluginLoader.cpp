#include "agent/plugin/PluginLoader.h"

#include <dlfcn.h>
#include <fmt/format.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <system_error>

namespace KorvoAgent {

namespace {

std::string lastLoaderError() {
  const char* const error = ::dlerror();
  return error == nullptr ? "unknown error" : error;
}

}  // namespace

AgentCommand::PluginEntry loadPlugin(const std::string& file) {
  // A bare name would be looked for in the system's library folders, an empty one is this program.
  const std::string path = file.find('/') == std::string::npos ? "./" + file : file;
  void* const library = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) {
    throw PluginError(fmt::format("cannot load plug-in {}: {}", file, lastLoaderError()));
  }
  const void* const symbol = ::dlsym(library, AgentCommand::kPluginEntrySymbol);
  if (symbol == nullptr) {
    std::string message = fmt::format("{} is no command plug-in: it does not export {}", file,
                                      AgentCommand::kPluginEntrySymbol);
    ::dlclose(library);
    throw PluginError(message);
  }
  std::uint32_t version = 0;
  std::memcpy(&version, symbol, sizeof(version));
  if (version != AgentCommand::kPluginInterfaceVersion) {
    std::string message =
        fmt::format("plug-in {} has interface version {}, this agent needs version {}", file,
                    version, AgentCommand::kPluginInterfaceVersion);
    ::dlclose(library);
    throw PluginError(message);
  }
  const auto& entry = *static_cast<const AgentCommand::PluginEntry*>(symbol);
  if (entry.cliCallback == nullptr || entry.cliCallbackWithFormat == nullptr) {
    throw PluginError(fmt::format("plug-in {} does not make both callbacks", file));
  }
  return entry;
}

std::vector<std::string> defaultPluginPaths(const std::string& programFolder) {
  const std::filesystem::path folder(programFolder);
  std::vector<std::string> paths;
  for (const std::filesystem::path& library :
       {folder / ".." / KORVO_INSTALL_LIBDIR, folder / ".." / "lib", folder}) {
    paths.push_back((library / kDefaultPlugin).lexically_normal().string());
  }
  return paths;
}

std::string findDefaultPlugin() {
  std::error_code error;
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
  const std::vector<std::string> paths = defaultPluginPaths(program.parent_path().string());
  for (const std::string& path : paths) {
    if (std::filesystem::exists(path, error)) return path;
  }
  throw PluginError(fmt::format("the plug-in is in none of these places: {}; name it with --plugin",
                                fmt::join(paths, ", ")));
}

}  // namespace KorvoAgent
