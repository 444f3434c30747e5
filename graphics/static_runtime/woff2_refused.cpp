// The shipped run-time's stand-in for the brotli decoder.
//
// FreeType calls the brotli decoder for one thing only: fonts packed as WOFF2. The installer's
// fonts are TrueType and OpenType files, so the self-contained run-time answers every such call
// with a decoding error (FreeType then refuses the font, as it would a damaged one) and leaves
// the decoder and its 120 KB dictionary out of every installer. Built into the static run-time
// only: linked beside a shared FreeType, this definition would take the place of the real one.

#include <brotli/decode.h>

extern "C" BrotliDecoderResult BrotliDecoderDecompress(size_t, const uint8_t*, size_t* decoded_size, uint8_t*)
{
    if (decoded_size)
        *decoded_size = 0;
    return BROTLI_DECODER_RESULT_ERROR;
}
