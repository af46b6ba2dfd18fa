#include "bench/BareCalls.h"

#include "security/OpenSsl.h"

#include <openssl/cms.h>

#include <QJsonDocument>

#include <array>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kelpay::bench {

namespace {

using Bio = std::unique_ptr<BIO, openssl::Free<BIO_free>>;
using Cms = std::unique_ptr<CMS_ContentInfo, openssl::Free<CMS_ContentInfo_free>>;

std::vector<unsigned char> read(const std::string &path)
{
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    struct stat info
    {
    };
    ::fstat(file, &info);
    std::vector<unsigned char> content(static_cast<std::size_t>(info.st_size));
    if (::read(file, content.data(), content.size()) != info.st_size)
        content.clear();
    ::close(file);
    return content;
}

void appendBase64(std::string &text, const unsigned char *data, std::size_t size)
{
    std::array<unsigned char, 4096> block{};
    const int written = EVP_EncodeBlock(block.data(), data, static_cast<int>(size));
    text.append(reinterpret_cast<const char *>(block.data()), static_cast<std::size_t>(written));
}

/// The compact JSON of an object of texts, without Qt's writer.
std::string lean(const QJsonObject &object)
{
    std::string json = "{";
    json.reserve(1024);
    const auto append = [&json](const QString &text) {
        json += '"';
        for (const char c : text.toUtf8()) {
            if (c == '"' || c == '\\')
                json += '\\';
            json += c;
        }
        json += '"';
    };
    for (auto entry = object.begin(); entry != object.end(); ++entry) {
        if (json.size() > 1)
            json += ',';
        append(entry.key());
        json += ':';
        append(entry.value().toString());
    }
    json += '}';
    return json;
}

} // namespace

struct BareCalls::Impl
{
    std::string seal(EVP_PKEY_CTX *rsa, std::string_view json) const;

    std::string path;
    EVP_CIPHER *cbc = EVP_CIPHER_fetch(openssl::libraryContext(), "AES-256-CBC", nullptr);
    EVP_CIPHER *ecb = EVP_CIPHER_fetch(openssl::libraryContext(), "AES-256-ECB", nullptr);
    openssl::Certificate certificate;
    openssl::Pkey key;
    openssl::PkeyContext keptRsa;
};

BareCalls::BareCalls(const std::string &path) : m_impl(std::make_unique<Impl>())
{
    const openssl::ThreadDefaultContext ours;
    m_impl->path = path;
    const auto file = read(path);
    const auto *in = file.data();
    const openssl::Pkcs12 parsed(d2i_PKCS12(nullptr, &in, static_cast<long>(file.size())));
    X509 *leaf = nullptr;
    EVP_PKEY *privateKey = nullptr;
    if (!PKCS12_parse(parsed.get(), "qwpLumaXYT@#781", &privateKey, &leaf, nullptr))
        qFatal("the bench's own certificate file can't be opened");
    const openssl::Pkey unused(privateKey);
    m_impl->certificate.reset(leaf);
    m_impl->key.reset(X509_get_pubkey(leaf));
    m_impl->keptRsa.reset(EVP_PKEY_CTX_new_from_pkey(openssl::libraryContext(), m_impl->key.get(), nullptr));
    EVP_PKEY_encrypt_init(m_impl->keptRsa.get());
    EVP_PKEY_CTX_set_rsa_padding(m_impl->keptRsa.get(), RSA_PKCS1_PADDING);
}

BareCalls::~BareCalls()
{
    EVP_CIPHER_free(m_impl->cbc);
    EVP_CIPHER_free(m_impl->ecb);
}

std::string BareCalls::seal(const QJsonObject &request)
{
    const openssl::PkeyContext rsa(EVP_PKEY_CTX_new_from_pkey(openssl::libraryContext(), m_impl->key.get(), nullptr));
    EVP_PKEY_encrypt_init(rsa.get());
    EVP_PKEY_CTX_set_rsa_padding(rsa.get(), RSA_PKCS1_PADDING);
    const QByteArray json = QJsonDocument(request).toJson(QJsonDocument::Compact);
    return m_impl->seal(rsa.get(), std::string_view(json.constData(), static_cast<std::size_t>(json.size())));
}

std::string BareCalls::sealLean(const QJsonObject &request)
{
    return m_impl->seal(m_impl->keptRsa.get(), lean(request));
}

std::string BareCalls::Impl::seal(EVP_PKEY_CTX *rsa, std::string_view json) const
{
    std::array<unsigned char, 32> random{};
    std::array<unsigned char, 16> iv{};
    RAND_bytes_ex(openssl::libraryContext(), random.data(), random.size(), 0);
    RAND_bytes_ex(openssl::libraryContext(), iv.data(), iv.size(), 0);
    const auto file = read(path);

    std::vector<unsigned char> plain(iv.size() + json.size());
    std::copy(json.begin(), json.end(), std::copy(iv.begin(), iv.end(), plain.begin()));
    std::vector<unsigned char> cipher(plain.size() + 16);
    const openssl::CipherContext aes(EVP_CIPHER_CTX_new());
    int length = 0;
    int tail = 0;
    EVP_EncryptInit_ex2(aes.get(), cbc, random.data(), iv.data(), nullptr);
    EVP_EncryptUpdate(aes.get(), cipher.data(), &length, plain.data(), static_cast<int>(plain.size()));
    EVP_EncryptFinal_ex(aes.get(), cipher.data() + length, &tail);
    cipher.resize(static_cast<std::size_t>(length + tail));

    std::array<unsigned char, 256> block{};
    std::size_t blockSize = block.size();
    EVP_PKEY_encrypt(rsa, block.data(), &blockSize, random.data(), random.size());

    std::string envelope = "'";
    envelope.reserve(2048);
    appendBase64(envelope, block.data(), blockSize);
    envelope += '#';
    constexpr std::size_t bytesInLine = 57;
    for (std::size_t done = 0; done < cipher.size(); done += bytesInLine) {
        if (done > 0)
            envelope += "\r\n";
        appendBase64(envelope, cipher.data() + done, std::min(bytesInLine, cipher.size() - done));
    }
    envelope += "\n'";
    return envelope;
}

std::vector<unsigned char> BareCalls::open(const std::string &text, const unsigned char *key)
{
    std::vector<unsigned char> cipher(text.size() / 4 * 3);
    int size = EVP_DecodeBlock(cipher.data(), reinterpret_cast<const unsigned char *>(text.data()),
                               static_cast<int>(text.size()));
    for (auto at = text.rbegin(); at != text.rend() && *at == '='; ++at)
        --size;
    std::vector<unsigned char> plain(cipher.size() + 16);
    const openssl::CipherContext aes(EVP_CIPHER_CTX_new());
    int length = 0;
    int tail = 0;
    EVP_DecryptInit_ex2(aes.get(), m_impl->ecb, key, nullptr, nullptr);
    EVP_DecryptUpdate(aes.get(), plain.data(), &length, cipher.data(), size);
    EVP_DecryptFinal_ex(aes.get(), plain.data() + length, &tail);
    plain.resize(static_cast<std::size_t>(length + tail));
    return plain;
}

std::size_t BareCalls::sealWithCms(const std::vector<unsigned char> &plain)
{
    const Bio in(BIO_new_mem_buf(plain.data(), static_cast<int>(plain.size())));
    const openssl::Certificates recipients(sk_X509_new_null());
    X509_up_ref(m_impl->certificate.get());
    sk_X509_push(recipients.get(), m_impl->certificate.get());
    const Cms cms(CMS_encrypt(recipients.get(), in.get(), EVP_aes_256_cbc(), CMS_BINARY));
    if (!cms)
        qFatal("the bench's own CMS data can't be made");
    unsigned char *out = nullptr;
    const int length = i2d_CMS_ContentInfo(cms.get(), &out);
    OPENSSL_free(out);
    return static_cast<std::size_t>(length);
}

std::size_t BareCalls::encrypt(const Bytes &data, const unsigned char *key, const unsigned char *iv)
{
    const std::size_t capacity = data.size() + 16;
    const auto cipher = std::make_unique_for_overwrite<unsigned char[]>(capacity);
    const openssl::CipherContext aes(EVP_CIPHER_CTX_new());
    int length = 0;
    int tail = 0;
    EVP_EncryptInit_ex2(aes.get(), m_impl->cbc, key, iv, nullptr);
    EVP_EncryptUpdate(aes.get(), cipher.get(), &length, data.data(), static_cast<int>(data.size()));
    EVP_EncryptFinal_ex(aes.get(), cipher.get() + length, &tail);
    OPENSSL_cleanse(cipher.get(), capacity);
    return static_cast<std::size_t>(length + tail);
}

} // namespace kelpay::bench
