// Opening and filling folders, against a flat read of the index and one allocation per row.

#include "reference.h"

#include "base/fd.h"
#include "store/folder.h"

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

/// A folder of its own, removed at the end.
class BenchFolder {
  public:
    BenchFolder() {
        std::string directory = "/dev/shm/store_benchXXXXXX"; // in memory: the disk is not what is measured
        if (mkdtemp(directory.data()))
            path_ = directory;
        CreateFolder(path_.c_str());
    }
    ~BenchFolder() { std::filesystem::remove_all(path_); }
    char const *Path() const { return path_.c_str(); }

    void Fill(int records) const {
        std::ofstream index(path_ + "/index2", std::ios::app | std::ios::binary);
        for (int number = 1; number <= records; number++) {
            IndexRecord record{.number = number, .flags = 0, .row = " \t Minutes of the meeting\t Some Body\t Sat\t"};
            index.write(reinterpret_cast<char const *>(&record), sizeof record);
        }
    }

  private:
    std::string path_;
};

/// Reads the whole index and gives each record a block of its own: nothing that makes rows can be faster.
double FlatSeconds(char const *path, size_t size) {
    auto const block = std::make_unique_for_overwrite<char[]>(size);
    return BestSeconds([&] {
        Fd const file(open((std::string(path) + "/index2").c_str(), O_RDONLY | O_CLOEXEC));
        long const got = ReadAll(file.Get(), block.get(), size);
        std::vector<std::unique_ptr<char[]>> rows;
        for (long at = 24; at + 208 <= got; at += 208) {
            rows.push_back(std::make_unique_for_overwrite<char[]>(64));
            memcpy(rows.back().get(), block.get() + at + 8, 64);
        }
        benchmark::DoNotOptimize(rows.data());
    });
}

void OpenFolder(benchmark::State &state) {
    BenchFolder const folder;
    int const records = static_cast<int>(state.range(0));
    folder.Fill(records);
    size_t const size = 24 + static_cast<size_t>(records) * sizeof(IndexRecord);
    Compared const compared(state, FlatSeconds(folder.Path(), size), size);
    for (auto _ : state) {
        std::vector<std::unique_ptr<char[]>> rows;
        ReadFolderIndex(folder.Path(), [&rows](IndexRecord const &record) {
            rows.push_back(std::make_unique_for_overwrite<char[]>(64));
            memcpy(rows.back().get(), record.row, 64);
        });
        if (rows.size() != static_cast<size_t>(records))
            state.SkipWithError("rows are missing");
    }
}
BENCHMARK(OpenFolder)->Arg(100'000)->Arg(1'000'000)->Unit(benchmark::kMillisecond);

/// The files alone, without numbers and rows.
double FilesSeconds(std::string const &text) {
    BenchFolder const folder;
    int number = 0;
    return BestSeconds([&] {
        Fd const file(open((std::string(folder.Path()) + "/" + std::to_string(++number)).c_str(),
                           O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
        WriteAll(file.Get(), text);
    });
}

void Append(benchmark::State &state) {
    BenchFolder const folder;
    std::string const text = "Subject: x\r\nFrom: y\r\n\r\n" + std::string(static_cast<size_t>(state.range(0)), 'z');
    Compared const compared(state, FilesSeconds(text), text.size());
    for (auto _ : state)
        if (AppendMessage(folder.Path(), text.c_str()) < 0)
            state.SkipWithError("not stored");
}
BENCHMARK(Append)->Arg(4096)->Arg(5'000'000)->Iterations(50)->Unit(benchmark::kMicrosecond);

void DeleteFromLargeFolder(benchmark::State &state) {
    BenchFolder const folder;
    folder.Fill(1'000'000);
    size_t const size = 24 + 1'000'000 * sizeof(IndexRecord);
    Compared const compared(state, FlatSeconds(folder.Path(), size), 0);
    int32_t number = 1'000'000;
    for (auto _ : state)
        DeleteMessage(folder.Path(), number--);
}
BENCHMARK(DeleteFromLargeFolder)->Iterations(20)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
