#pragma once
// Reads stored device descriptions, which may come from anywhere.

#include "HostFrameworkExport.h"

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string_view>
#include <xercesc/dom/DOMNode.hpp>

namespace ReferenceHost {

/// An XML document, read with bounded means: no document type, so no entities but XML's own five; nothing
/// outside the text is ever looked at, neither file nor network. Used by one thread at a time; several may
/// be read on several threads.
class HOSTFRAMEWORK_EXPORT DeviceDescription {
public:
    static constexpr std::size_t mostBytes = std::size_t{1} << 20;
    static constexpr int mostDepth = 32;         ///< elements within each other, the root included
    static constexpr int mostElements = 10'000;  ///< in all
    static constexpr int mostAttributes = 1'000; ///< of one element

    /// Reads a document's bytes, in the encoding that it declares, UTF-8 by default. Throws DeviceException,
    /// with line and column where there is one, for what is not well-formed, has a document type or exceeds a
    /// bound above.
    explicit DeviceDescription(std::string_view xml);
    DeviceDescription(DeviceDescription&&) noexcept;
    DeviceDescription& operator=(DeviceDescription&&) noexcept;
    DeviceDescription(const DeviceDescription&) = delete;
    DeviceDescription& operator=(const DeviceDescription&) = delete;
    ~DeviceDescription();

    /// Reads a file, of which no more than the bound above is read. Throws DeviceException, which names the
    /// file, also if it cannot be read.
    static DeviceDescription fromFile(const std::filesystem::path& file);

    /// The document's root element, such as "Device": what DeviceBuilder::build takes. Lives as long as this
    /// object.
    xercesc::DOMNode* root() const;

private:
    struct Document;
    std::unique_ptr<Document> document_;
};

} // namespace ReferenceHost
