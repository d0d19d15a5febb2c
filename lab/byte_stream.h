#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

#include "foundation/errors.h"

// Little-endian values in and out of byte blocks that come from and go to the network.
namespace lab {

class byte_reader {
public:
    explicit byte_reader(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

    std::size_t position() const { return position_; }

    // Throws exc::runtime_exc_t where the block is shorter.
    std::span<const std::uint8_t> take(std::size_t count) {
        if (count > bytes_.size() - position_)
            throw exc::runtime_exc_t("The message is cut short.");
        position_ += count;
        return bytes_.subspan(position_ - count, count);
    }
    template <class Value>
    Value take() {
        Value value;
        std::memcpy(&value, take(sizeof value).data(), sizeof value);
        return value;
    }
    void align(std::size_t boundary) { take((boundary - position_ % boundary) % boundary); }

private:
    std::span<const std::uint8_t> bytes_;
    std::size_t position_ = 0;
};

class byte_writer {
public:
    template <class Value>
    void put(Value value) {
        const auto* const first = reinterpret_cast<const std::uint8_t*>(&value);
        bytes_.insert(bytes_.end(), first, first + sizeof value);
    }
    void put_bytes(std::span<const std::uint8_t> bytes) { bytes_.insert(bytes_.end(), bytes.begin(), bytes.end()); }
    void put_zeros(std::size_t count) { bytes_.resize(bytes_.size() + count); }
    void align(std::size_t boundary) { put_zeros((boundary - bytes_.size() % boundary) % boundary); }
    template <class Value>
    void overwrite(std::size_t position, Value value) {
        std::memcpy(bytes_.data() + position, &value, sizeof value);
    }

    std::vector<std::uint8_t>& bytes() { return bytes_; }

private:
    std::vector<std::uint8_t> bytes_;
};

}  // namespace lab
