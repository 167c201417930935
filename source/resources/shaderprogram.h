#pragma once
// ShaderProgram: one vertex or fragment program, fetched through the resource manager
// under the extension "cg". The shading layer below keeps process-wide state: one
// context, one vertex and one fragment profile, and the stage the next Load compiles
// for (SetShaderLoadMode). The profiles of this layer are the two GLSL stages, "glslv"
// and "glslf"; any other requested profile is reported as not supported and replaced.
//
// A ".cg" file holds GLSL (version 1.20 with the compatibility built-ins) whose entry
// function is `void vertex_program()` or `void fragment_program()`; the layer puts a
// "#version 120" line before it (unless the file starts with its own "#version") and a
// `main` that calls the entry after it. Each program
// is linked on its own, so a vertex program runs with the fixed-function fragment stage
// and the other way round; when both stages are enabled and bound, the pair is linked
// once and cached. Parameter values are kept per program and replayed into whichever GL
// program is in use, so the order "EnableProfile, Bind, set parameters, draw" of the
// callers works unchanged. Parameter locations are cached per program by name.
//
// Errors go through the error callback: "Cg error: " and the driver's text.

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "resources/resource.h"

typedef int32_t ShaderProfile;
constexpr ShaderProfile SHADER_PROFILE_UNKNOWN = 0;
constexpr ShaderProfile SHADER_PROFILE_VERTEX = 1;    // "glslv"
constexpr ShaderProfile SHADER_PROFILE_FRAGMENT = 2;  // "glslf"

// Which GL matrix SetStateMatrix reads, and what it does to it before the upload.
enum ShaderStateMatrix {
    SHADER_MODELVIEW_MATRIX,
    SHADER_PROJECTION_MATRIX,
    SHADER_MODELVIEW_PROJECTION_MATRIX,
};
enum ShaderMatrixTransform {
    SHADER_MATRIX_IDENTITY,
    SHADER_MATRIX_INVERSE,
    SHADER_MATRIX_TRANSPOSE,
    SHADER_MATRIX_INVERSE_TRANSPOSE,
};

// Process-wide shading state.
extern bool cg_context;  // true once InitCg found a GL context able to run programs
extern ShaderProfile cg_vertex_profile;
extern ShaderProfile cg_fragment_profile;
extern bool shader_load_as_vertex;  // stage of the next Load; default true

// Sets up the layer with the requested profile names (the game asks for "arbvp1" and
// "arbfp1"). Prints "<name> not supported" for each that the layer lacks, then
// "Using '<vertex>', '<fragment>'". Without a current GL context that can compile
// programs it prints "Failed to create Cg context" and every later Load fails.
void InitCg(const std::string& vertex_profile_name, const std::string& fragment_profile_name);
// Error callback: "Cg error: " and the text of the last error.
void OnCgError();
void SetShaderLoadMode(bool vertex);
// Profile by name ("glslv", "glslf"), SHADER_PROFILE_UNKNOWN for others; and back.
ShaderProfile GetShaderProfile(const std::string& name);
const char* GetShaderProfileString(ShaderProfile profile);
// The text the error callback prints after "Cg error: ".
const std::string& GetShaderLastError();
// The GLSL the layer compiles for a file's text and stage.
std::string WrapShaderSource(const std::string& text, bool vertex);

class ShaderProgram : public Resource {
public:
    uint32_t program = 0;  // GL program of this stage alone; 0 until loaded
    uint32_t shader = 0;   // GL shader object
    bool vertex = true;    // stage chosen at load time
    std::string source;    // the file's text

    ShaderProgram() = default;
    ShaderProgram(const ShaderProgram&) = default;
    ~ShaderProgram() override;

    bool Load(std::string path) override;
    // Compiles and links already-read text for the current load mode.
    bool LoadSource(const std::string& text);

    void Bind();
    static void EnableProfile(ShaderProfile profile);
    static void DisableProfile(ShaderProfile profile);

    void SetStateMatrix(const std::string& name, ShaderStateMatrix matrix,
                        ShaderMatrixTransform transform);
    // The two matrices every vertex program of the game takes: "ModelViewProj", and
    // "ModelView" inverted, which takes the eye back into the drawn object's space.
    void SetViewMatrices();
    void SetParameter3fv(const std::string& name, const float* vector);
    void SetParameterArray3f(const std::string& name, int count, const float* data);
    void SetParameterArray4f(const std::string& name, int count, const float* data);
    void SetTexture(const std::string& name, uint32_t texture);
    void EnableTexture(const std::string& name);
    void DisableTexture(const std::string& name);

    // The GL program now in use for the enabled stages (0: fixed function).
    static uint32_t ActiveGlProgram();

    struct Parameter {
        enum Kind { NONE, FLOATS, MATRIX, SAMPLER } kind = NONE;
        int components = 0;  // floats per element (3, 4 or 16)
        std::vector<float> values;
        uint32_t texture = 0;
        int unit = -1;  // texture unit of a sampler
    };

private:
    friend struct ShaderState;
    bool Known(const std::string& name);
    void Store(const std::string& name, Parameter::Kind kind, int components, const float* data,
               int count);
    void Apply(uint32_t gl_program, const std::string& name, const Parameter& p);

    std::map<std::string, Parameter> parameters;
    std::map<std::string, bool> known_names;  // per-name cache of "declared in the source"
    int next_unit = 0;
};
