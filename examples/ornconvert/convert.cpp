// From input files to output files.
#include "convert.h"

#include <map>
#include <new>
#include <span>

#include "console.h"
#include "depth.h"
#include "files.h"
#include "formats.h"
#include "interrupt.h"
#include "messages.h"

namespace ornconvert {
namespace {

// Runs the work on one file and reports what goes wrong in it.
template <class Work>
bool attempt(const std::wstring& file, Work work) {
    try {
        work();
        return true;
    } catch (const Failure& failure) {
        complain(text(failure.file.empty() ? file : failure.file, L": ", failure.words));
    } catch (const std::bad_alloc&) {
        complain(file + L": there is not enough memory");
    }
    return false;
}

// Runs a step whose failures, unless they know better, concern this file.
template <class Step>
auto concerning(const std::wstring& file, Step step) {
    try {
        return step();
    } catch (Failure& failure) {
        if (failure.file.empty()) failure.file = file;
        throw;
    }
}

// Where an input's pictures go.
struct Output {
    std::wstring name;
    const Format* format;
};

// Names the outputs: either one file, or files in a folder that are called like the inputs.
class Destination {
 public:
    Destination(const Job& job, std::size_t inputs) : name_(job.files.back()), format_(job.outputFormat) {
        folder_ = endsInSlash(name_) || isFolder(name_);
        if (!folder_ && !format_) format_ = formatByExtension(name_);
        if (!folder_ && inputs > 1 && !oneForAll()) folder_ = splitName(name_).extension.empty();
        if (folder_) return;
        if (!format_)
            throw UsageError{text(name_, L": its extension names none of the formats that can be written (",
                                  formatNames(), L"); --to FORMAT helps")};
        if (inputs > 1 && !oneForAll())
            throw UsageError{
                text(name_, L": a ", format_->name, L" file holds one picture; name a folder instead")};
    }

    // Whether several inputs become the pictures of one file.
    bool oneForAll() const { return !folder_ && format_ && format_->holdsSeveral; }

    // A folder keeps the extension of an input that keeps its format.
    Output outputFor(const std::wstring& input, const Format& inputFormat) const {
        if (!folder_) return {name_, format_};
        const Format* format = format_ ? format_ : &inputFormat;
        const NameParts parts = splitName(input);
        const bool keep = formatByExtension(input) == format;
        return {(endsInSlash(name_) ? name_ : name_ + L"/") + parts.stem +
                    (keep ? parts.extension : text(L".", format->extensions[0])),
                format};
    }

    void createFolderIfNeeded() const {
        if (folder_) createFolder(name_);
    }

 private:
    std::wstring name_;
    const Format* format_;  // null in a folder: each input's own
    bool folder_;
};

// Who may write which file: an input itself, and what becomes of it, may only be replaced by what becomes of
// the same input.
class Owners {
 public:
    explicit Owners(std::span<const std::wstring> inputs) {
        for (const std::wstring& input : inputs) owners_.try_emplace(comparableName(input), input);
    }

    // Throws a Failure if the file is another input's.
    void claim(const std::wstring& file, const std::wstring& input) {
        const auto& [name, owner] = *owners_.try_emplace(comparableName(file), input).first;
        if (owner != input)
            throw Failure{text(L"cannot become ", file, L": that is, or comes from, the input ", owner)};
    }

 private:
    std::map<std::wstring, std::wstring> owners_;  // by comparable name
};

class Converter {
 public:
    explicit Converter(Job& job)
        : job_(job),
          inputs_(job.files.data(), job.files.size() - 1),
          destination_(job, inputs_.size()),
          owners_(inputs_),
          progress_(inputs_.size()) {}

    bool run() {
        if (inputs_.size() > 1 && destination_.oneForAll())
            return attempt(job_.files.back(), [&] { joinAll(); });
        bool allWell = true;
        for (const std::wstring& input : inputs_) {
            progress_.next(input);
            allWell &= attempt(input, [&] { convert(input); });
        }
        return allWell;
    }

 private:
    void convert(const std::wstring& input) {
        const Format& inputFormat = formatByContent(input);
        const Output output = destination_.outputFor(input, inputFormat);
        std::vector<Picture> pictures = read(input, inputFormat, *output.format);
        destination_.createFolderIfNeeded();
        if (pictures.size() == 1 || output.format->holdsSeveral) return saveFile(input, output, pictures);
        const NameParts parts = splitName(output.name);
        for (std::size_t i = 0; i < pictures.size(); i++)
            saveFile(input, {text(parts.folder, parts.stem, L"-", i + 1, parts.extension), output.format},
                     {&pictures[i], 1});
    }

    // All inputs' pictures into one file, in order. Any failure leaves no file.
    void joinAll() {
        OutputFile file(job_.files.back());
        Place place{0, true};
        for (const std::wstring& input : inputs_) {
            progress_.next(input);
            concerning(input, [&] {
                const Format& inputFormat = formatByContent(input);
                const Output output = destination_.outputFor(input, inputFormat);
                std::vector<Picture> pictures = read(input, inputFormat, *output.format);
                save(file, *output.format, pictures, place);
            });
        }
        file.finish();
    }

    // The pictures of an input, loaded and changed. What the options ask for is checked before any work.
    std::vector<Picture> read(const std::wstring& file, const Format& format, const Format& outputFormat) {
        stopIfInterrupted();
        applyLoadOptions(job_, format);
        applySaveOptions(job_, outputFormat);
        std::vector<Picture> pictures = format.load(file);
        for (Picture& picture : pictures)
            for (const Operation& operation : job_.operations) {
                stopIfInterrupted();
                operation(picture);
            }
        return pictures;
    }

    void saveFile(const std::wstring& input, const Output& output, std::span<Picture> pictures) {
        owners_.claim(output.name, input);
        OutputFile file(output.name);
        Place place{0, pictures.size() > 1};
        save(file, *output.format, pictures, place);
        file.finish();
    }

    static void save(const OutputFile& file, const Format& format, std::span<Picture> pictures,
                     Place& place) {
        for (Picture& picture : pictures) {
            stopIfInterrupted();
            fitDepth(picture, format.depths);
            concerning(file.name(), [&] { format.save(file.temporaryName(), picture, place); });
            place.index++;
        }
    }

    Job& job_;
    std::span<const std::wstring> inputs_;
    Destination destination_;
    Owners owners_;
    Progress progress_;
};

}  // namespace

bool convertFiles(Job& job) {
    if (job.files.size() < 2) throw UsageError{L"the names of a picture to read and one to write are needed"};
    return Converter(job).run() && !warned();
}

bool printInfo(Job& job) {
    if (job.files.empty()) throw UsageError{L"the name of a file is needed"};
    if (!job.operations.empty())
        throw UsageError{L"--info tells of files as they are, without changes of the picture"};
    bool allWell = true;
    for (const std::wstring& file : job.files)
        allWell &= attempt(file, [&] {
            const Format& format = formatByContent(file);
            applyLoadOptions(job, format);
            InfoList list;
            format.info(file, list);
            print(text(file, L": ", format.name, L"\n", list.text()));
        });
    return allWell && !warned();
}

}  // namespace ornconvert
