#include "commandline.h"
#include "output.h"

#include "core/debug.h"
#include "core/text.h"
#include "core_crypto/rsakeys.h"

#include <nlohmann/json.hpp>
#include <unistd.h>

namespace tool {

namespace {

struct keygen_options {
    std::string private_path;
    std::string public_path;
    unsigned bits = 3072;
    bool json = false;
};

core::key_handle make_key_pair(const keygen_options& options) {
    try {
        core::key_handle key = core::generate_rsa_key(options.bits);
        core::save_key_pair(key.get(), core::decode_path(options.private_path),
                            core::decode_path(options.public_path));
        return key;
    } catch (const core::exception& error) {
        fail_call(std::string(error.what()) + ".");
    }
}

void check_paths(const keygen_options& options) {
    for (const std::string& path : {options.private_path, options.public_path}) {
        if (path == "-") fail_call("Keys go to files. Give a path for each of the two.");
        if (access(path.c_str(), F_OK) == 0) {
            fail_call(path +
                      " is there already. A key is never written over a file: choose another "
                      "name.");
        }
    }
    if (options.private_path == options.public_path) {
        fail_call("The two keys cannot go to one file. Give a path for each of them.");
    }
}

exit_status keygen(const keygen_options& options) {
    check_paths(options);
    const core::key_handle key = make_key_pair(options);
    const std::string fingerprint = core::public_key_fingerprint(key.get());
    if (options.json) {
        write_json({{"private_key", options.private_path},
                    {"public_key", options.public_path},
                    {"bits", options.bits},
                    {"fingerprint_sha256", fingerprint}});
        return status_ok;
    }
    write_output("Private key  " + output_name(options.private_path) + "  (keep it secret)\n" +
                 "Public key   " + output_name(options.public_path) + "\n" + "Fingerprint  " +
                 fingerprint + "\n");
    return status_ok;
}

action define(CLI::App& command) {
    auto options = std::make_shared<keygen_options>();
    command.add_option("PRIVATE", options->private_path, "The file for the private key.")
        ->required();
    command.add_option("PUBLIC", options->public_path, "The file for the public key.")->required();
    command
        .add_option("--bits", options->bits,
                    "Length of the key: 2048, 3072 (default) or 4096.\n"
                    "3072 bits are as strong as a symmetric key of 128\n"
                    "bits, and verify nearly as fast as 2048.")
        ->check(CLI::IsMember({2048u, 3072u, 4096u}))
        ->type_name("N");
    add_json(command, options->json);
    add_notes(command,
              "Makes two files, as PEM, and replaces none. The private key has no passphrase and "
              "is readable\n"
              "by its owner alone. The fingerprint is SHA-256 over the public key; publish it, so\n"
              "that those who get the public key can compare.\n\n"
              "Example:\n"
              "  morvantic keygen private.pem public.pem");
    return with_options(std::move(options), keygen);
}

} // namespace

const subcommand keygen_command = {"keygen", "Make a key pair to sign packages with.", define};

} // namespace tool
