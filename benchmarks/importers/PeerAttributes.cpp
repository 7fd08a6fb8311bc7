// What KFileMetaData says of files, for compare-attributes: per line the number of attributes, the length of the text
// in bytes and the microseconds that it took. The library alone is measured: no process is started for a file.
#include <KF5/KFileMetaData/KFileMetaData/Extractor>
#include <KF5/KFileMetaData/KFileMetaData/ExtractorCollection>
#include <KF5/KFileMetaData/KFileMetaData/SimpleExtractionResult>

#include <QCoreApplication>
#include <QMimeDatabase>
#include <chrono>
#include <cstdio>

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const KFileMetaData::ExtractorCollection extractors;
    const QMimeDatabase types;
    for (int i = 1; i < argc; ++i) {
        const QString path = QString::fromLocal8Bit(argv[i]);
        const auto start = std::chrono::steady_clock::now();
        const QString type = types.mimeTypeForFile(path).name();
        KFileMetaData::SimpleExtractionResult result(
            path, type,
            KFileMetaData::ExtractionResult::ExtractMetaData | KFileMetaData::ExtractionResult::ExtractPlainText);
        for (KFileMetaData::Extractor* extractor : extractors.fetchExtractors(type))
            extractor->extract(&result);
        const std::chrono::duration<double, std::micro> time = std::chrono::steady_clock::now() - start;
        std::printf("%lld %lld %.0f\n", static_cast<long long>(result.properties().uniqueKeys().size()),
                    static_cast<long long>(result.text().toUtf8().size()), time.count());
        std::fflush(stdout);
    }
}
