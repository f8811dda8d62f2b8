#include "tests/unit/selection/SelectionWalk.h"

#include "tests/unit/selection/SelectionPicture.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace {

std::size_t below(std::mt19937& random, std::size_t limit) {
    return random() % limit;
}

uint32_t flag(std::mt19937& random) {
    return static_cast<uint32_t>(below(random, 2));
}

std::string randomName(std::mt19937& random, char first) {
    const std::string name(1, static_cast<char>(first + static_cast<char>(below(random, 3))));
    return below(random, 3) == 0 ? "_tr(\"" + name + "\")" : name;
}

void collectPlaces(const std::vector<ReferenceRow>& rows, std::vector<int>& place,
                   std::vector<std::vector<int>>& placesOut) {
    for (std::size_t position = 0; position < rows.size(); ++position) {
        place.push_back(static_cast<int>(position));
        placesOut.push_back(place);
        collectPlaces(rows[position].below, place, placesOut);
        place.pop_back();
    }
}

std::string textOf(const std::vector<int>& path) {
    std::string text;
    for (const int position : path) {
        text.append(text.empty() ? "" : ":").append(std::to_string(position));
    }
    return text;
}

bool agree(const WalkedSelection& subject, const ReferenceSelection& reference) {
    return subject.rows() == reference.rows() &&
           pictureOf(subject.records()) == pictureOf(reference.records());
}

} // namespace

const ReferenceRow& rowAt(const std::vector<ReferenceRow>& rows, const std::vector<int>& path) {
    const ReferenceRow* row = nullptr;
    for (const int position : path) {
        row = &(row == nullptr ? rows : row->below).at(static_cast<std::size_t>(position));
    }
    return *row;
}

std::list<RootItem> randomTree(std::mt19937& random) {
    std::list<RootItem> roots;
    for (std::size_t rootCount = 1 + below(random, 4); roots.size() < rootCount;) {
        RootItem& root = roots.emplace_back();
        root.m_name = randomName(random, 'A');
        root.m_selected = root.m_default = flag(random);
        for (std::size_t moduleCount = below(random, 5); root.m_modules.size() < moduleCount;) {
            ModuleItem& module = root.m_modules.emplace_back();
            module.m_name = randomName(random, 'K');
            module.m_selected = module.m_default = flag(random);
            for (std::size_t fileCount = below(random, 6); module.m_files.size() < fileCount;) {
                FileItem& file = module.m_files.emplace_back();
                file.m_label = randomName(random, 'x');
                file.m_selected = file.m_default = flag(random);
            }
        }
    }
    return roots;
}

std::vector<std::vector<int>> placesOf(const std::vector<ReferenceRow>& rows) {
    std::vector<std::vector<int>> places;
    std::vector<int> place;
    collectPlaces(rows, place, places);
    return places;
}

std::size_t walk(WalkedSelection& subject, ReferenceSelection& reference, std::mt19937& random,
                 std::size_t steps, const std::string& title) {
    const std::vector<std::vector<int>> places = placesOf(reference.rows());
    const std::string start = pictureOf(reference.records());
    std::vector<int> place = places.front();
    std::string history;
    std::size_t clicks = 0;
    for (std::size_t step = 0; agree(subject, reference); ++step) {
        if (step == steps) {
            return clicks;
        }
        if (below(random, 12) == 0) {
            history += " store";
            subject.store();
            reference.SaveTreeViewToList();
            continue;
        }
        // The same row again is what unchecks and checks it.
        if (below(random, 3) != 0) {
            place = places[below(random, places.size())];
        }
        history.append(" ").append(textOf(place));
        subject.click(place);
        reference.onCheckToggled(place, rowAt(reference.rows(), place).checked);
        ++clicks;
    }
    ADD_FAILURE() << title << "\ntree             " << start << "\nclicks          " << history
                  << "\nrows             " << pictureOf(subject.rows()) << "\nshould be        "
                  << pictureOf(reference.rows()) << "\nrecords          " << pictureOf(subject.records())
                  << "\nshould be        " << pictureOf(reference.records());
    return clicks;
}
