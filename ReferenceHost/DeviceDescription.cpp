#include "ReferenceHost/DeviceDescription.h"

#include "Communicator/DeviceException.h"
#include "XmlText.h"

#include <fstream>
#include <string>
#include <xercesc/dom/DOMDocument.hpp>
#include <xercesc/dom/DOMElement.hpp>
#include <xercesc/dom/DOMException.hpp>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/parsers/XercesDOMParser.hpp>
#include <xercesc/sax/EntityResolver.hpp>
#include <xercesc/sax/ErrorHandler.hpp>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/util/OutOfMemoryException.hpp>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/SecurityManager.hpp>
#include <xercesc/util/XMLException.hpp>

namespace {

using ReferenceHost::DeviceDescription;
using ReferenceHost::wideFromXml;

[[noreturn]] void refuse(const std::wstring& reason) {
    throw DeviceException(L"The device description is refused: " + reason);
}

/// Once per process and for its whole life, as documents may live as long.
void startXerces() {
    static const bool started = [] {
        xercesc::XMLPlatformUtils::Initialize();
        return true;
    }();
    static_cast<void>(started);
}

class RefusingErrorHandler final : public xercesc::ErrorHandler {
public:
    void warning(const xercesc::SAXParseException&) override {}
    void error(const xercesc::SAXParseException& exception) override { fatalError(exception); }
    void fatalError(const xercesc::SAXParseException& exception) override {
        refuse(L"line " + std::to_wstring(exception.getLineNumber()) + L", column " +
               std::to_wstring(exception.getColumnNumber()) + L": " + wideFromXml(exception.getMessage()));
    }
    void resetErrors() override {}
};

/// Stands behind the refused document type: whatever else might name something outside gets nothing.
class RefusingEntityResolver final : public xercesc::EntityResolver {
public:
    xercesc::InputSource* resolveEntity(const XMLCh*, const XMLCh*) override {
        refuse(L"it refers to something outside of it");
    }
};

/// A DOM parser that stops at a document type and at the first element that is too much.
class BoundedParser final : public xercesc::XercesDOMParser {
public:
    BoundedParser() {
        security_.setEntityExpansionLimit(0);
        setSecurityManager(&security_);
        setErrorHandler(&errors_);
        setEntityResolver(&entities_);
        setDisableDefaultEntityResolution(true);
        setValidationScheme(Val_Never);
        setLoadExternalDTD(false);
        setLoadSchema(false);
        setDoNamespaces(false);
    }

    using xercesc::XercesDOMParser::doctypeDecl;
    void doctypeDecl(const xercesc::DTDElementDecl&, const XMLCh*, const XMLCh*, bool, bool) override {
        refuse(L"it has a document type");
    }

    void startElement(const xercesc::XMLElementDecl& declaration, unsigned int uriId, const XMLCh* prefix,
                      const xercesc::RefVectorOf<xercesc::XMLAttr>& attributes, XMLSize_t attributeCount,
                      bool isEmpty, bool isRoot) override {
        if (++elements_ > DeviceDescription::mostElements)
            refuse(L"it has too many elements");
        if (++depth_ > DeviceDescription::mostDepth)
            refuse(L"its elements are nested too deeply");
        if (attributeCount > DeviceDescription::mostAttributes)
            refuse(L"an element has too many attributes");
        XercesDOMParser::startElement(declaration, uriId, prefix, attributes, attributeCount, isEmpty,
                                      isRoot);
    }

    /// Called for an empty element too, by startElement.
    void endElement(const xercesc::XMLElementDecl& declaration, unsigned int uriId, bool isRoot,
                    const XMLCh* prefix) override {
        --depth_;
        XercesDOMParser::endElement(declaration, uriId, isRoot, prefix);
    }

private:
    xercesc::SecurityManager security_;
    RefusingErrorHandler errors_;
    RefusingEntityResolver entities_;
    int depth_ = 0;
    int elements_ = 0;
};

struct ReleaseDocument {
    void operator()(xercesc::DOMDocument* document) const { document->release(); }
};

using OwnedDocument = std::unique_ptr<xercesc::DOMDocument, ReleaseDocument>;

OwnedDocument parse(std::string_view xml) {
    try {
        startXerces();
        const xercesc::MemBufInputSource source(reinterpret_cast<const XMLByte*>(xml.data()), xml.size(),
                                                "device description");
        BoundedParser parser;
        parser.parse(source);
        return OwnedDocument(parser.adoptDocument());
    } catch (const xercesc::XMLException& exception) {
        refuse(wideFromXml(exception.getMessage()));
    } catch (const xercesc::DOMException& exception) {
        refuse(wideFromXml(exception.getMessage()));
    } catch (const xercesc::OutOfMemoryException&) {
        refuse(L"there is not enough memory to read it");
    }
}

std::string contentsOf(const std::filesystem::path& file) {
    std::string contents(DeviceDescription::mostBytes + 1, '\0');
    std::ifstream stream(file, std::ios::binary);
    stream.read(contents.data(), static_cast<std::streamsize>(contents.size()));
    if (!stream.eof() && stream.fail())
        refuse(L"the file cannot be read");
    contents.resize(static_cast<std::size_t>(stream.gcount()));
    return contents;
}

} // namespace

namespace ReferenceHost {

struct DeviceDescription::Document {
    OwnedDocument dom;
};

DeviceDescription::DeviceDescription(std::string_view xml) {
    if (xml.size() > mostBytes)
        refuse(L"it has more than " + std::to_wstring(mostBytes) + L" bytes");
    document_ = std::make_unique<Document>(Document{parse(xml)});
}

DeviceDescription::DeviceDescription(DeviceDescription&&) noexcept = default;
DeviceDescription& DeviceDescription::operator=(DeviceDescription&&) noexcept = default;
DeviceDescription::~DeviceDescription() = default;

DeviceDescription DeviceDescription::fromFile(const std::filesystem::path& file) {
    try {
        return DeviceDescription(contentsOf(file));
    } catch (const DeviceException& exception) {
        throw DeviceException(file.wstring() + L": " + exception.getMessage());
    }
}

xercesc::DOMNode* DeviceDescription::root() const {
    return document_->dom->getDocumentElement();
}

} // namespace ReferenceHost
