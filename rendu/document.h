#pragma once

#include "storage/wholefile.h"

#include <QByteArray>
#include <QImage>
#include <QString>
#include <memory>

namespace kivra::rendu {

/// A picture as it goes into a document.
struct Page
{
    QImage bits;     ///< of a picture of two colours (encoding.h), kept without loss; else null
    QByteArray jpeg; ///< of any other
    QSize size;
};

/// A PDF document of A4 pages with one picture each. A page is portrait or landscape as its picture
/// is, and the picture is as large as margins of 10 mm allow. Pictures of two colours are
/// compressed as CCITT G4. The compressed pictures stay in memory as long as the document lives.
class Document
{
public:
    Document();
    ~Document();
    Document(const Document &) = delete;
    Document &operator=(const Document &) = delete;

    /// Appends a page. False if memory is short; the document is lost then.
    bool add(const Page &page);

    /// Writes the document to \a path, whole or not at all, followed by \a end. Returns 0 or the
    /// system's error number (makeWholeFile()).
    int save(const QString &path, Existing existing, const QByteArray &end) const;

private:
    struct Parts;
    std::unique_ptr<Parts> parts;
};

} // namespace kivra::rendu
