#include "RegisterFile.h"

#include <algorithm>

namespace Zevrin {

namespace {

constexpr unsigned int kCellSize = 4;
constexpr unsigned int kNowhere = 0xFFFFFFFF;

}  // namespace

void RegisterFile::Add(const std::vector<RegisterRow>& rows) {
    for (const RegisterRow& row : rows) {
        const auto number = static_cast<unsigned int>(m_rows.size());
        for (unsigned int index = 0; index < row.count; ++index) {
            const unsigned int reset = row.reset + index * static_cast<unsigned int>(row.resetStep);
            m_cells.push_back({row.offset + 4 * index, reset, reset, number});
        }
        m_rows.push_back(row);
    }
}

void RegisterFile::Seal() {
    std::sort(m_cells.begin(), m_cells.end(), [](const Cell& left, const Cell& right) {
        return left.offset != right.offset ? left.offset < right.offset : left.row > right.row;
    });
    const auto sameOffset = [](const Cell& left, const Cell& right) { return left.offset == right.offset; };
    m_cells.erase(std::unique(m_cells.begin(), m_cells.end(), sameOffset), m_cells.end());
    m_cells.shrink_to_fit();
    m_places.assign(m_cells.empty() ? 0 : m_cells.back().offset / kCellSize + 1, kNowhere);
    for (std::size_t place = 0; place < m_cells.size(); ++place) {
        m_places[m_cells[place].offset / kCellSize] = static_cast<unsigned int>(place);
    }
}

const RegisterFile::Cell* RegisterFile::Find(unsigned int offset) const {
    const unsigned int number = offset / kCellSize;
    const bool isThere = offset % kCellSize == 0 && number < m_places.size() && m_places[number] != kNowhere;
    return isThere ? &m_cells[m_places[number]] : nullptr;
}

const RegisterRow* RegisterFile::GetRow(unsigned int offset) const {
    const Cell* pCell = Find(offset);
    return pCell != nullptr ? &m_rows[pCell->row] : nullptr;
}

unsigned int RegisterFile::Get(unsigned int offset) const {
    const Cell* pCell = Find(offset);
    return pCell != nullptr ? pCell->value : 0;
}

std::vector<unsigned int> RegisterFile::GetRun(unsigned int offset, std::size_t count) const {
    std::vector<unsigned int> values(count);
    const Cell* pCell = Find(offset);
    std::transform(pCell, pCell + count, values.begin(), [](const Cell& cell) { return cell.value; });
    return values;
}

void RegisterFile::Set(unsigned int offset, unsigned int value) {
    if (const Cell* pCell = Find(offset)) {
        m_cells[static_cast<std::size_t>(pCell - m_cells.data())].value = value;
    }
}

void RegisterFile::Reset() {
    for (Cell& cell : m_cells) {
        cell.value = cell.reset;
    }
}

RegisterFile::Settings RegisterFile::Save() const {
    Settings settings;
    settings.reserve(m_cells.size());
    for (const Cell& cell : m_cells) {
        settings.push_back(cell.value);
    }
    return settings;
}

void RegisterFile::Restore(const Settings& settings) {
    for (std::size_t index = 0; index < m_cells.size(); ++index) {
        if (!m_rows[m_cells[index].row].isVolatile) {
            m_cells[index].value = settings[index];
        }
    }
}

RegisterFile::Settings RegisterFile::GetFactorySettings() const {
    Settings settings;
    settings.reserve(m_cells.size());
    for (const Cell& cell : m_cells) {
        settings.push_back(cell.reset);
    }
    return settings;
}

}  // namespace Zevrin
