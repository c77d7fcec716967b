#include "news/session/number_list.h"

#include "base/fd.h"

#include <algorithm>
#include <array>
#include <fcntl.h>

std::optional<int32_t> EndOfBatch(std::string const &path, int32_t cursor, int32_t count) {
    std::optional<int32_t> last;
    Fd const file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    std::array<int32_t, 16384> block{};
    int32_t wanted = std::max(count, 2); // kept: with the cursor's article a range has count + 1 of them, 3 for 1
    bool found = false;
    for (;;) {
        long const bytes = ReadAll(file.Get(), reinterpret_cast<char *>(block.data()), sizeof block);
        if (bytes < static_cast<long>(sizeof block[0]))
            return last;
        size_t const numbers = static_cast<size_t>(bytes) / sizeof block[0];
        for (size_t i = 0; i < numbers; i++) {
            last = block[i];
            found = found || block[i] > cursor;
            if (found && --wanted == 0)
                return last;
        }
    }
}
