// The steps of a job whose time must grow with the size of their work and not with its square.   growth_steps
// STEP SIZE ROUNDS, see Growth.h; bench/growth.py runs them in three sizes each.
//
//   groups       a request of SIZE ids, gone through for five items in each of SIZE / 5 groups
//   unprocessed  SIZE entries of a request taken off the list of those that nobody has handled
//   merge        a request of SIZE ids, gone through for a group of SIZE items, of which half are wanted
//   listing      a folder of SIZE files, listed
//   rows         a section of the summary with SIZE rows
//   cell         a row of the summary with a text of SIZE bytes in a cell
//   scan         the scan of a group of SIZE items
//   roots        the scan of SIZE groups with a root of its own each
//   titles       clicks on, and the storing of, SIZE modules of one title
//   attributes   our share of reading an element of SIZE attributes: the tree, and a look for the last one
//   document     the whole reading of that element, most of which is libxml2's search for double ones

#include "bench/Growth.h"
#include "bench/Records.h"
#include "tools/MERO/MEROEngine/implementations/BundleText.h"
#include "tools/MERO/MEROEngine/implementations/collector.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/Files.h"
#include "tools/MERO/MEROEngine/implementations/parser/MEROXmlLoader.h"
#include "tools/MERO/MEROEngine/implementations/parser/MEROXmlMgr.h"
#include "tools/MERO/MEROOffline/Common/ParseConfigXML.h"
#include "tools/MERO/MEROOffline/Common/SelectionRules.h"

#include <filesystem>
#include <fstream>
#include <list>
#include <memory>
#include <vector>

namespace {

using growth::secondsOf;
using Round = std::function<double()>;

void expect(bool condition, const char* what) {
    if (!condition) {
        growth::fail(what);
    }
}

/// A private folder for the time of the run.
class Folder {
public:
    Folder() {
        std::string name = (std::filesystem::temp_directory_path() / "mero_growth_XXXXXX").string();
        expect(::mkdtemp(name.data()) != nullptr, "no folder can be made");
        m_path = name;
    }
    ~Folder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    [[nodiscard]] std::string path() const { return m_path; }

private:
    std::string m_path;
};

/// Ids whose order is neither that of their numbers nor at random in each run.
std::string idOf(std::size_t number) {
    return "item-" + std::to_string(number * 7919 % 1000003) + "-" + std::to_string(number);
}

MEROComponent* add(MEROComponent* parent, const std::string& name, const std::string& value = {}) {
    parent->addChild(name, value);
    return parent->getChildren().back();
}

/// A request and a configuration, and how they are worked through.
class Walk {
public:
    Walk(std::size_t ids, std::size_t groups, std::size_t itemsInGroup) {
        for (std::size_t number = 0; number < ids; ++number) {
            MEROComponent* entry = add(m_request.GetRoot(), "file");
            entry->addAttribute("id", idOf(number));
            m_entries.push_back(entry);
        }
        std::size_t item = 0;
        for (std::size_t group = 0; group < groups; ++group) {
            MEROComponent* parent = add(m_config.GetRoot(), "fileGroup");
            for (std::size_t count = 0; count < itemsInGroup; ++count) {
                MEROComponent* file = add(parent, "file");
                // Every other one is wanted.
                file->addAttribute("id", idOf(item % 2 == 0 ? item : ids + item));
                add(add(file, "mero"), "os")->addAttribute("opsys", "linux");
                ++item;
            }
        }
    }
    double collect() {
        std::list<MEROComponent*> unprocessed = m_entries;
        std::string bundle = m_folder.path();
        collector worker(&m_request, unprocessed, "bundle.zip", false, false);
        const double seconds =
            secondsOf([&] { expect(worker.Collect(bundle, &m_config) == 0, "the collection failed"); });
        expect(unprocessed.size() < m_entries.size(), "nothing was collected");
        return seconds;
    }
    double takeOff() {
        std::list<MEROComponent*> unprocessed = m_entries;
        const std::vector<MEROComponent*> entries(m_entries.begin(), m_entries.end());
        collector worker(&m_request, unprocessed, "bundle.zip", false, false);
        const double seconds = secondsOf([&] {
            for (std::size_t number = 0; number < entries.size(); ++number) {
                // Each once, since the factor is a prime number, and no neighbours one after the other.
                MEROComponent* entry = entries[number * 7919 % entries.size()];
                expect(worker.removeFromUnprocessedList(entry) == 0, "an entry was refused");
            }
        });
        expect(unprocessed.empty(), "an entry stayed");
        return seconds;
    }

private:
    Folder m_folder;
    MEROXmlObject m_request{"request", ""};
    MEROXmlObject m_config{"configure", ""};
    std::list<MEROComponent*> m_entries;
};

Round groups(std::size_t size) {
    return [walk = std::make_shared<Walk>(size, size / 5, 5)] { return walk->collect(); };
}

Round unprocessed(std::size_t size) {
    return [walk = std::make_shared<Walk>(size, 0, 0)] { return walk->takeOff(); };
}

Round merge(std::size_t size) {
    return [walk = std::make_shared<Walk>(size, 1, size)] { return walk->collect(); };
}

Round listing(std::size_t size) {
    auto folder = std::make_shared<Folder>();
    for (std::size_t number = 0; number < size; ++number) {
        const std::ofstream file(folder->path() + "/" + std::to_string(number) + ".log");
        expect(file.is_open(), "a file can't be made");
    }
    return [folder, size] {
        std::string path = folder->path();
        std::list<std::string> patterns{"*.log"};
        std::list<helperUtil::FoundFile> found;
        const double seconds = secondsOf(
            [&] { expect(helperUtil::fileFindAll(path, patterns, true, found) == 0, "the listing failed"); });
        expect(found.size() == size, "files are missing");
        return seconds;
    };
}

Round rows(std::size_t size) {
    auto folder = std::make_shared<Folder>();
    return [folder, size] {
        MEROXmlObject request;
        MEROXmlObject config("configure", "");
        std::list<MEROComponent*> none;
        collector worker(&request, none, "bundle.zip", false, false);
        expect(worker.initializeSummary() == 0, "there is no summary");
        MEROXmlObject& summary = *worker.getSummary();
        MEROComponent* included = summary.FindChild(summary.GetRoot(), "Manifest_Included");
        return secondsOf([&] {
            for (std::size_t number = 0; number < size; ++number) {
                auto entry = std::make_unique<MEROComponent>("client.log", std::to_string(number) + ".log");
                entry->addAttribute("description", "Log of the agent with the connections that were made");
                entry->addAttribute("file_size", "12.34K");
                summary.addComponent(included, entry.release());
            }
            expect(worker.writeSummary(folder->path(), &config) == 0, "the summary can't be written");
        });
    };
}

Round cell(std::size_t size) {
    std::string text;
    while (text.size() < size) {
        text += "some words and-one-that-is-much-longer-than-its-column-is-wide ";
    }
    return [text] {
        return secondsOf([&] {
            const std::string row = bundleText::row({"id", "name", text, ""}, bundleText::kOmittedWidths);
            expect(row.size() > text.size(), "a row is too short");
        });
    };
}

Round scanOf(std::size_t groupCount, std::size_t itemsInGroup) {
    auto folder = std::make_shared<Folder>();
    std::filesystem::create_directories(folder->path() + "/xml/config");
    std::ofstream file(folder->path() + "/xml/config/all.xml");
    file << "<configure>";
    for (std::size_t group = 0; group < groupCount; ++group) {
        file << "<fileGroup treeRootName=\"Root " << group << "\"><title>Module " << group << "</title>";
        for (std::size_t item = 0; item < itemsInGroup; ++item) {
            file << "<file id=\"" << idOf(item) << "\"><gui><label>Item " << item
                 << "</label></gui><default>true</default><description>About it</description><mero>"
                    "<os opsys=\"linux\"/></mero></file>";
        }
        file << "</fileGroup>";
    }
    file << "</configure>";
    file.close();
    return [folder, groupCount] {
        Records records;
        ParseConfigXML scan(&records, nullptr, folder->path() + "/");
        const double seconds = secondsOf([&] {
            scan.run();
            sortRoots(records.getModuleTree());
        });
        expect(records.getModuleTree().size() == groupCount, "roots are missing");
        return seconds;
    };
}

/// The checks of rows that nobody sees.
class Checks final : public CheckRows {
public:
    explicit Checks(std::size_t rows) : m_checked(rows) {}
    [[nodiscard]] bool isChecked(std::size_t row) const override { return m_checked[row]; }
    void setChecked(std::size_t row, bool checked) override { m_checked[row] = checked; }

private:
    std::vector<bool> m_checked;
};

Round titles(std::size_t size) {
    auto roots = std::make_shared<std::list<RootItem>>();
    for (std::size_t number = 0; number < size; ++number) {
        ModuleItem module{.m_name = "Title", .m_files = {}};
        for (int file = 0; file < 3; ++file) {
            const std::string label = file == 0 ? "Log" : "Log " + idOf(number * 3 + 1);
            module.m_files.push_back(
                {.m_id = label, .m_label = label, .m_description = {}, .m_platform = {}});
        }
        RootsByName(*roots).append("Root", module);
    }
    return [roots] {
        SelectionIndex index(*roots, [](const std::string& name) { return name; });
        Checks checks(index.rows().size());
        SelectionRules rules(index, checks);
        return secondsOf([&] {
            for (const std::size_t row : {std::size_t{0}, std::size_t{1}}) {
                rules.toggle(row, false);
                rules.store();
                rules.toggle(row, true);
                rules.toggle(row, false);
            }
        });
    };
}

Round attributes(std::size_t size) {
    return [size] {
        return secondsOf([size] {
            MEROXmlMgr manager;
            manager.startElement("file");
            for (std::size_t number = 0; number < size; ++number) {
                manager.addAttribute("a" + std::to_string(number), "value");
            }
            manager.endElement("file");
            const MEROXmlObject copy(*manager.getXmlObject());
            const std::string last = "a" + std::to_string(size - 1);
            expect(copy.FindAttribute(copy.GetRoot(), last) != nullptr, "an attribute is missing");
        });
    };
}

Round document(std::size_t size) {
    std::string text = "<file";
    for (std::size_t number = 0; number < size; ++number) {
        text += " a" + std::to_string(number) + "=\"value\"";
    }
    text += "/>";
    return [text] {
        return secondsOf([&text] {
            MEROXmlLoader loader;
            std::list<MEROXmlObject*> trees;
            expect(loader.load(text, kLoadText, trees) != nullptr, "the document can't be read");
        });
    };
}

} // namespace

int main(int argc, char** argv) {
    const std::map<std::string, growth::Step> steps{
        {"groups", groups},
        {"unprocessed", unprocessed},
        {"merge", merge},
        {"listing", listing},
        {"rows", rows},
        {"cell", cell},
        {"scan", [](std::size_t size) { return scanOf(1, size); }},
        {"roots", [](std::size_t size) { return scanOf(size, 1); }},
        {"titles", titles},
        {"attributes", attributes},
        {"document", document}};
    return growth::runStep(steps, argc, argv);
}
