#include "PadModel.hpp"

#include <array>

namespace ruvola {

std::span<const PadModel> PadModel::supported() {
    static const std::array<PadModel, 1> models{
        PadModel{"Soomfon Stream Controller SE", 0x1500, 0x3001},
    };
    return models;
}

std::optional<PadModel> PadModel::matching(int vendorID, int productID) {
    for (const PadModel& model : supported()) {
        if (model.vendorID == vendorID && model.productID == productID) {
            return model;
        }
    }
    return std::nullopt;
}

} // namespace ruvola
