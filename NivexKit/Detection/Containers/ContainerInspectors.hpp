#pragma once

#include "NivexKit/Detection/Containers/ContainerInspection.hpp"

/// The looks that inspectContainer chooses from, one for each container. Each gets the open file and what the sniffer
/// said of it.
namespace nivex::inspectors {

using Finding = ContainerFinding;

// Packages and archives
Finding zip(const ByteSource& source, const SniffResult& sniff);
Finding gzip(const ByteSource& source, const SniffResult& sniff);
Finding rar(const ByteSource& source, const SniffResult& sniff);
Finding sevenZip(const ByteSource& source, const SniffResult& sniff);
Finding zstandard(const ByteSource& source, const SniffResult& sniff);

// Documents
Finding ole2(const ByteSource& source, const SniffResult& sniff);
Finding pdf(const ByteSource& source, const SniffResult& sniff);
Finding postScript(const ByteSource& source, const SniffResult& sniff);
Finding mobi(const ByteSource& source, const SniffResult& sniff);

// Pictures
Finding tiff(const ByteSource& source, const SniffResult& sniff);
Finding icon(const ByteSource& source, const SniffResult& sniff);

// Sound and film
Finding isoMedia(const ByteSource& source, const SniffResult& sniff);
Finding taggedSound(const ByteSource& source, const SniffResult& sniff);
Finding asf(const ByteSource& source, const SniffResult& sniff);
Finding ogg(const ByteSource& source, const SniffResult& sniff);
Finding matroska(const ByteSource& source, const SniffResult& sniff);
Finding programStream(const ByteSource& source, const SniffResult& sniff);
Finding subStation(const ByteSource& source, const SniffResult& sniff);

// Data and programs
Finding sqlite(const ByteSource& source, const SniffResult& sniff);
Finding hdf5(const ByteSource& source, const SniffResult& sniff);
Finding facets(const ByteSource& source, const SniffResult& sniff);
Finding pointCloud(const ByteSource& source, const SniffResult& sniff);
Finding program(const ByteSource& source, const SniffResult& sniff);

/// Disk images and other formats that the opening bytes say nothing about.
Finding diskImage(const ByteSource& source, const SniffResult& sniff);

} // namespace nivex::inspectors
