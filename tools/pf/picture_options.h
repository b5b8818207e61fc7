/// \file
/// Options that verbs with pictures share, and the loop over pictures.
#ifndef TOOLS_PF_PICTURE_OPTIONS_H
#define TOOLS_PF_PICTURE_OPTIONS_H

#include <chrono>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "picture.h"
#include "plan.h"
#include "verb.h"

namespace pftool {

/// "--alpha" and "--rgba".
void AddReadOptions(CLI::App& app, ReadOptions* options);

/// "--rgba" alone.
void AddRgbaOption(CLI::App& app, ReadOptions* options);

/// Inputs, "-o" and "--format".
struct PictureFiles {
  std::vector<std::string> inputs;
  std::string output;
  std::string format;
};
void AddPictureFiles(CLI::App& app, PictureFiles* files);

/// "--depth", 0 when it was not given.
void AddDepthOption(CLI::App& app, int* depth, const char* help);

/// "straight" or "premultiplied" into `alpha`.
void AddAlphaOption(CLI::App& app, const char* name, Alpha* alpha, const char* help);

/// One picture of a run: reads the input, makes and writes the output.
using PictureWork = std::function<WrittenFacts(const Job& job, const WriteRequest& request, Reporter* reporter)>;

/// Checks all names, starts the library and does the work for each picture; prints what was written when
/// JSON was asked for.
ExitCode ForEachPicture(const char* verb, const PictureFiles& files, const CommonOptions& common,
                        const PictureWork& work);

/// The same for jobs that have been paired already: `files` tells the output's name and format only.
ExitCode ForEachJob(const char* verb, const std::vector<Job>& jobs, const PictureFiles& files,
                    const CommonOptions& common, const PictureWork& work);

/// Refuses --json beside a picture on standard output. \throws Failure (64).
void RefuseJsonWithPicture(const PictureFiles& files, const CommonOptions& common);

/// "-o" and "--format" alone.
void AddOutput(CLI::App& app, PictureFiles* files);

/// What is assumed about a picture, said once for a sequence of like pictures.
void NoteAssumptions(const PictureFacts& facts, Reporter* reporter);

/// JSON as text with a newline at its end.
std::string JsonText(const nlohmann::json& value);

}  // namespace pftool

#endif
